#pragma once

#include "hostapi/storage/provider/ByteStream.h"

#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/positioning.hpp>

#include <cstddef>
#include <ios>
#include <memory>

namespace storage::host {

/// Bytes that are copied or compared at a time.
inline constexpr std::size_t transferBufferSize = std::size_t{256} * 1024;

/// A Boost.Iostreams device over a stream of a provider, so that the library's algorithms and streams work on
/// the files of a storage. Reads and writes share one position, as in the stream itself.
///
/// Copies share the stream. Thread safety: as the stream, one thread at a time.
class ByteStreamDevice {
public:
    using char_type = char;
    using category = boost::iostreams::seekable_device_tag;

    /// @throws std::runtime_error when there is no stream
    explicit ByteStreamDevice(std::unique_ptr<foundation::storage::provider::ByteStream> stream);

    /// @return bytes read, fewer than `count` only at the end of the file; -1 when there is none
    /// @throws std::runtime_error when the provider claims to have read more than it was asked for
    std::streamsize read(char* buffer, std::streamsize count);

    /// @return `count`
    /// @throws std::runtime_error when the provider writes another number of bytes
    std::streamsize write(const char* buffer, std::streamsize count);

    /// @throws std::ios_base::failure when the position would lie outside the file
    std::streampos seek(boost::iostreams::stream_offset offset, std::ios_base::seekdir direction);

private:
    std::shared_ptr<foundation::storage::provider::ByteStream> stream_;
};

} // namespace storage::host
