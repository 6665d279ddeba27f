#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <memory>

namespace foundation::storage::provider {

/// A new file beside a given location, to be moved there when it is complete.
///
/// Owns the file at its own location from construction until `moveIntoPlace` succeeds; the destructor removes
/// what is still owned. Its name is hidden: ".copy-" and 16 random hexadecimal digits. Failures name the
/// caller's location, except two, which name the temporary file: `NotFound` when the storage refuses its name
/// or another thread has removed it, `AlreadyExists` when no free name was found. The provider must outlive
/// the object. Not thread-safe.
class TemporaryFile {
public:
    /// @param place       where the file is to be moved; it is created in the same folder
    /// @param workingFor  the location that failures name
    /// @throws Exception  `NotFound` when the folder is missing, or naming the temporary file when the
    ///         storage refuses its name; `AlreadyExists` naming the temporary file; `ReadOnly` when the
    ///         folder is read-only
    TemporaryFile(const IProvider& provider, const StorageIRI& place, const StorageIRI& workingFor);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    /// A stream for writing, which must be destroyed before the file is moved.
    std::unique_ptr<ByteStream> open() const;

    /// @throws Exception  `AlreadyExists` naming the place; `NotFound` naming the temporary file when another
    ///         thread has removed it; other codes naming `workingFor`
    void moveIntoPlace(const ReplacementPolicy& policy);

private:
    [[noreturn]] void rethrowForCaller(const Exception& failure) const;

    const IProvider& provider_;
    StorageIRI place_;
    StorageIRI workingFor_;
    StorageIRI location_;
    bool isOwned_ = true;
};

} // namespace foundation::storage::provider
