#pragma once

#include "hostapi/storage/iostream/ByteStreamDevice.h"
#include "hostapi/storage/provider/ByteStream.h"

#include <boost/iostreams/stream.hpp>

#include <ios>
#include <memory>
#include <utility>

namespace foundation::storage::provider {

/// A `std::iostream` over an open file of a storage:
/// `FileIostream file(provider.doOpenStream(iri, options))`.
///
/// When the storage fails, an operation sets `badbit` and rethrows the provider's exception.
/// `exceptions(std::ios_base::goodbit)`, the default of the standard library, disables exceptions. `eofbit`
/// and `failbit` throw nothing. A position outside the file throws `std::ios_base::failure`: unlike a file on
/// disk, a file of a storage never has a gap.
///
/// Output is buffered. Call `flush` before the object is destroyed: it throws `std::ios_base::failure` when
/// the bytes cannot be written. The destructor writes them too, but throws nothing.
///
/// Owns the stream, which must be destroyed before the library that made it is unloaded. Not thread-safe.
class FileIostream : public boost::iostreams::stream<ByteStreamDevice> {
public:
    /// @param opened  from `doOpenStream`, or from `doOpenReadOnlyStream` to read only. Do not write to the
    ///                latter: not every provider refuses it
    /// @throws std::runtime_error when it is null
    explicit FileIostream(std::unique_ptr<ByteStream> opened)
        : boost::iostreams::stream<ByteStreamDevice>(ByteStreamDevice(std::move(opened))) {
        exceptions(std::ios_base::badbit);
    }
};

} // namespace foundation::storage::provider
