#pragma once

#include "hostapi/storage/iostream/ByteStreamDevice.h"
#include "hostapi/storage/provider/ByteStream.h"

#include <boost/iostreams/stream.hpp>

#include <ios>
#include <memory>
#include <utility>

namespace foundation::storage::provider {

/// A `std::iostream` over an open file of a storage: `FileIostream file(provider.doOpenStream(iri, options))`.
///
/// A failure of the storage sets `badbit` and is thrown on by the operation that met it, as it came from the provider;
/// `exceptions(std::ios_base::goodbit)` restores the silence of the standard library. `eofbit` and `failbit` throw nothing.
/// A position outside the file is `std::ios_base::failure`: unlike a file of the disk, a file of a storage never has a gap.
///
/// Bytes are held back until the buffer is full. Call `flush` before the object is destroyed: it throws `std::ios_base::failure`
/// when they cannot be written, while the destructor writes them too but throws nothing.
///
/// Owns the stream, which must be destroyed before the library that made it is unloaded. Thread safety: one thread at a time.
class FileIostream : public boost::iostreams::stream<ByteStreamDevice> {
public:
    /// @param opened  of `doOpenStream`, or of `doOpenReadOnlyStream` if nothing is going to be written
    /// @throws std::runtime_error when there is none
    explicit FileIostream(std::unique_ptr<ByteStream> opened)
        : boost::iostreams::stream<ByteStreamDevice>(ByteStreamDevice(std::move(opened))) {
        exceptions(std::ios_base::badbit);
    }
};

} // namespace foundation::storage::provider
