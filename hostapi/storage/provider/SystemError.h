#pragma once

#include "hostapi/Export.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <memory>
#include <system_error>

namespace foundation::storage::provider {

/// The failure of a system call in a provider operation: errno and location. For failures without an
/// `ErrorCode`, such as an unreadable disk or a lost connection.
///
/// The class is defined in the host libraries, so an object may outlive the provider's library. Copying never
/// throws. Thread safety: any number of threads may read one object.
class QZFL_EXPORT SystemError : public std::system_error {
public:
    /// @param error  the errno of the call
    /// @param iri    the location concerned
    /// @throws std::bad_alloc
    SystemError(int error, const StorageIRI& iri);
    /// Shares the location.
    SystemError(const SystemError&) noexcept;
    /// Shares the location.
    /// @return this exception
    SystemError& operator=(const SystemError&) noexcept;
    ~SystemError() override;

    /// The location concerned.
    /// @return a reference, valid as long as this object or a copy exists
    const StorageIRI& getIRI() const noexcept;

private:
    std::shared_ptr<const StorageIRI> iri_;
};

/// Throws the exception with which a provider operation reports a failed system call.
///
/// | errno | exception |
/// |---|---|
/// | `ENOENT`, `ENOTDIR`, `EISDIR` | `Exception` `NotFound` |
/// | `ENAMETOOLONG`, `EILSEQ`: the storage cannot hold the name | `Exception` `NotFound` |
/// | `EEXIST` | `Exception` `AlreadyExists` |
/// | `ENOTEMPTY` | `Exception` `FolderNotEmpty` |
/// | `EROFS` | `Exception` `ReadOnly` |
/// | `ENOMEM` | `std::bad_alloc` |
/// | `EFBIG` | `std::length_error` |
/// | all others | `SystemError` |
///
/// `EACCES` and `EPERM` are not `ReadOnly`: a provider checks its writable flags before it calls the system.
/// @param error  the errno of the call
/// @param iri    the location argument of the operation
[[noreturn]] QZFL_EXPORT void throwSystemError(int error, const StorageIRI& iri);

} // namespace foundation::storage::provider
