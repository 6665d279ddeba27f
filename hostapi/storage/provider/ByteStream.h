#pragma once

#include "hostapi/Export.h"

#include <ios>

namespace foundation::storage::provider {

/// An open file: a sequence of bytes, and this stream's own position in it.
///
/// The caller that opened a stream owns it. It must be destroyed before the library that made it is unloaded.
///
/// Thread safety: two streams may be used by two threads, even on one file. One stream must be externally
/// synchronized.
class QZFL_EXPORT ByteStream {
public:
    ByteStream() = default;
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
    virtual ~ByteStream();

    /// Copies bytes at the position into `buffer` and advances the position.
    /// @pre `count` >= 0. A provider need not check: with a negative count, it may copy the remainder of the
    ///      file past the end of `buffer`.
    /// @param buffer  room for `count` bytes
    /// @param count   number of bytes wanted
    /// @return number of bytes copied, at least 1; -1 when there are none (end of file, or `count` is 0)
    virtual long read(char* buffer, long count) = 0;

    /// Writes `count` bytes at the position, or at the end for a stream opened to append, and advances the
    /// position. The file grows as needed.
    /// @pre `count` >= 0. A provider need not check: with a negative count, it may read past the end of
    ///      `buffer`.
    /// @param buffer  `count` bytes
    /// @param count   number of bytes
    /// @return `count`
    /// @throws std::bad_alloc or std::length_error when the file cannot grow: nothing is appended, but bytes
    ///     before the end may be overwritten
    virtual long write(const char* buffer, long count) = 0;

    /// Moves the position.
    /// @param offset     bytes, from `direction`
    /// @param direction  the beginning, the position or the end
    /// @return the new position; -1, with the position unchanged, when it would lie outside the file
    virtual std::streampos seek(long offset, std::ios_base::seekdir direction) = 0;

    /// Makes buffered writes visible to other streams on the file. No effect if the provider does not buffer.
    virtual void flush() = 0;
};

} // namespace foundation::storage::provider
