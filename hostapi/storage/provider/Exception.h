#pragma once

#include "hostapi/Export.h"
#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <exception>
#include <memory>

namespace foundation::storage::provider {

/// The failure of a provider operation: its cause and location.
///
/// Copies share one immutable state, so copying never throws. Thread safety: any number of threads may read
/// one object.
class QZFL_EXPORT Exception : public std::exception {
public:
    /// @param code  the cause
    /// @param iri   the location concerned
    /// @throws std::bad_alloc
    Exception(const ErrorCode& code, const StorageIRI& iri);
    /// Shares the state.
    Exception(const Exception&) noexcept;
    /// Shares the state.
    /// @return this exception
    Exception& operator=(const Exception&) noexcept;
    ~Exception() override;

    /// Why the operation failed.
    /// @return the code; it may have no name in `ErrorCode`
    ErrorCode getErrorCode() const noexcept;

    /// The location concerned.
    /// @return a reference, valid as long as this object or a copy exists
    const StorageIRI& getIRI() const noexcept;

    /// The path and the reason in plain words. One code has several causes; the text says only what is
    /// certain.
    /// @return UTF-8, for example "/a: folder is not empty"
    const char* what() const noexcept override;

    /// The reason alone in plain words.
    /// @param code  any value; one without a name has a text too
    /// @return for example "folder is not empty"
    static const char* describe(ErrorCode code) noexcept;

private:
    struct State;
    std::shared_ptr<const State> state_;
};

} // namespace foundation::storage::provider
