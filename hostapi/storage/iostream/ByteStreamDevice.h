#pragma once

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/RequireNonNull.h"

#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/positioning.hpp>

#include <cstddef>
#include <ios>
#include <memory>
#include <utility>

namespace foundation::storage::provider {

/// A Boost.Iostreams device over a stream of a provider, so that the library's algorithms, filters and
/// streams work on files of a storage. Header-only; requires only headers of Boost. Reads and writes share
/// one position, as in the stream itself.
///
/// Copies share the stream. Thread safety: externally synchronized, as the stream.
class ByteStreamDevice {
public:
    using char_type = char; ///< bytes

    /// What Boost.Iostreams may do with the device.
    struct category : boost::iostreams::seekable_device_tag, boost::iostreams::flushable_tag {};

    /// @param stream  must support the operations that are called on the device
    /// @throws std::runtime_error when it is null
    explicit ByteStreamDevice(std::unique_ptr<ByteStream> stream)
        : stream_(requireNonNull(std::move(stream), "stream")) {}

    /// Reads from the position.
    /// @param buffer  room for `count` bytes
    /// @param count   number of bytes wanted
    /// @return bytes read, fewer than `count` only at the end of the file; -1 when there are none
    /// @throws std::runtime_error when the provider returns a larger count than requested
    /// @throws whatever the stream throws
    std::streamsize read(char* buffer, std::streamsize count) {
        const std::size_t done = readUpTo(*stream_, buffer, static_cast<std::size_t>(count));
        return done == 0 ? -1 : static_cast<std::streamsize>(done);
    }

    /// Writes at the position, or at the end for a stream opened to append.
    /// @param buffer  `count` bytes
    /// @param count   number of bytes
    /// @return `count`
    /// @throws std::runtime_error when the provider writes a different number of bytes
    /// @throws whatever the stream throws
    std::streamsize write(const char* buffer, std::streamsize count) {
        hasUnflushedBytes_ = true;
        writeAll(*stream_, {buffer, static_cast<std::size_t>(count)});
        return count;
    }

    /// Moves the position.
    /// @param offset     bytes, from `direction`
    /// @param direction  the beginning, the position or the end
    /// @return the new position
    /// @throws std::ios_base::failure when the position would lie outside the file
    std::streampos seek(boost::iostreams::stream_offset offset, std::ios_base::seekdir direction) {
        const std::streampos position = stream_->seek(static_cast<long>(offset), direction);
        if (position == std::streampos(std::streamoff(-1))) {
            throw std::ios_base::failure("a position outside the file");
        }
        return position;
    }

    /// Flushes the stream after writes through this object. Boost also calls this for streams that are only
    /// read.
    /// @return true
    /// @throws whatever the stream throws
    bool flush() {
        if (hasUnflushedBytes_) {
            stream_->flush();
            hasUnflushedBytes_ = false;
        }
        return true;
    }

private:
    std::shared_ptr<ByteStream> stream_;
    bool hasUnflushedBytes_ = false;
};

} // namespace foundation::storage::provider
