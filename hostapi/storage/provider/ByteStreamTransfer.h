#pragma once

#include "hostapi/storage/provider/ByteStream.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace foundation::storage::provider {

/// Writes all bytes at the position of a stream, or at the end for a stream opened to append.
/// @param stream  open for writing
/// @param bytes   if empty, the stream is not called
/// @throws std::runtime_error when the stream writes a different number of bytes. The content of the file is
///         then unknown
/// @throws whatever the stream throws
///
/// Thread safety: externally synchronized, as the stream.
inline void writeAll(ByteStream& stream, std::string_view bytes) {
    if (bytes.empty()) {
        return;
    }
    const auto count = static_cast<long>(bytes.size());
    const long written = stream.write(bytes.data(), count);
    if (written != count) {
        throw std::runtime_error("the plug-in wrote " + std::to_string(written) + " of " +
                                 std::to_string(count) + " bytes");
    }
}

/// Reads from the position of a stream until the buffer is full or the file ends.
/// @param stream  any; it may return the bytes in several pieces
/// @param buffer  room for `count` bytes
/// @param count   if 0, the stream is not called
/// @return number of bytes read, fewer than `count` only at the end of the file
/// @throws std::runtime_error when the stream returns a larger count than requested
/// @throws whatever the stream throws
///
/// Thread safety: externally synchronized, as the stream.
inline std::size_t readUpTo(ByteStream& stream, char* buffer, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const auto room = static_cast<long>(count - done);
        const long copied = stream.read(buffer + done, room);
        if (copied > room) {
            throw std::runtime_error("the plug-in read more bytes than requested");
        }
        if (copied <= 0) {
            break;
        }
        done += static_cast<std::size_t>(copied);
    }
    return done;
}

/// Fills a buffer from the position of a stream.
/// @param stream  any; it may return the bytes in several pieces
/// @param buffer  room for `count` bytes
/// @param count   number of bytes; the file must have at least as many from the position on
/// @throws std::runtime_error when the file ends earlier, or as `readUpTo`
/// @throws whatever the stream throws
///
/// Thread safety: externally synchronized, as the stream.
inline void readExactly(ByteStream& stream, char* buffer, std::size_t count) {
    const std::size_t done = readUpTo(stream, buffer, count);
    if (done != count) {
        throw std::runtime_error("the plug-in read " + std::to_string(done) + " of " + std::to_string(count) +
                                 " bytes");
    }
}

} // namespace foundation::storage::provider
