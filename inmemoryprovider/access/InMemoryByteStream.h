#pragma once

#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"

#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ByteStreamAppend.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <ios>
#include <memory>

namespace storage::inmemoryprovider {

/// An open file of the in-memory file system.
///
/// Shares the file's node, so it continues to read and write the same bytes after the file was removed, moved
/// or replaced. Owns its position, in bytes. Has no lock of its own: each operation acquires the lock of the
/// file's bytes. So does the destructor if the position is at `hugePagesFrom` or beyond: it frees the unused
/// memory of the last huge page. Nothing is buffered, so there is nothing to flush.
class InMemoryByteStream : public provider::ByteStream {
public:
    /// Opens a stream at the beginning of `entry`, which is not null.
    InMemoryByteStream(std::shared_ptr<InMemoryFileEntry> entry, provider::ByteStreamAppend append) noexcept;
    InMemoryByteStream(const InMemoryByteStream&) = delete;
    InMemoryByteStream& operator=(const InMemoryByteStream&) = delete;
    ~InMemoryByteStream() override;

    long read(char* buffer, long count) override;
    long write(const char* buffer, long count) override;
    std::streampos seek(long offset, std::ios_base::seekdir direction) override;
    void flush() override;

private:
    std::shared_ptr<InMemoryFileEntry> entry_;
    provider::ByteStreamAppend append_;
    unsigned long position_ = 0;
};

} // namespace storage::inmemoryprovider
