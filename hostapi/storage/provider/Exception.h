#pragma once

#include "hostapi/Export.h"
#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <exception>
#include <memory>

namespace foundation::storage::provider {

/// The failure of a provider operation: why, and at which location.
///
/// Copies share one immutable state, so copying never throws. Thread safety: any number of threads may read
/// one object.
class QZFL_EXPORT Exception : public std::exception {
public:
    /// @throws std::bad_alloc
    Exception(const ErrorCode& code, const StorageIRI& iri);
    Exception(const Exception&) noexcept;
    Exception& operator=(const Exception&) noexcept;
    ~Exception() override;

    ErrorCode getErrorCode() const noexcept;

    /// The location concerned. The reference is valid as long as this object or a copy of it.
    const StorageIRI& getIRI() const noexcept;

    /// The path and the reason in plain words, in UTF-8, for example "/a/f: no such file or folder".
    const char* what() const noexcept override;

    /// The reason alone in plain words, for example "no such file or folder". Codes without a name here give
    /// a text too.
    static const char* describe(ErrorCode code) noexcept;

private:
    struct State;
    std::shared_ptr<const State> state_;
};

} // namespace foundation::storage::provider
