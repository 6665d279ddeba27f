#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntry.h"

#include "hostapi/storage/provider/ByteStreamAppend.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstdint>
#include <ios>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace storage::inmemoryprovider {

/// A file.
///
/// Shares its bytes, and the mutex that guards them, with the node that replaces it in a move. All nodes that
/// share the bytes lock the same mutex. Each content operation holds it from start to end, including access
/// to the caller's position. It is the last lock in the lock order.
///
/// Invariant: neither pointer is null, and neither changes after construction.
///
/// Thread-safe.
class InMemoryFileEntry : public InMemoryEntry {
public:
    /// A file that shares the bytes of `content`, which is not null. To share them with another node, pass
    /// that node's `mutex` too: otherwise access through this node races with access by other owners of the
    /// bytes.
    InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable,
                      std::shared_ptr<std::vector<std::uint8_t>> content,
                      std::shared_ptr<std::mutex> mutex = std::make_shared<std::mutex>());

    /// An empty file.
    InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable);

    /// In bytes.
    std::uint64_t getFileSize() const;

    /// The bytes, shared and not copied; never null. Access requires `getMutex()`.
    std::shared_ptr<std::vector<std::uint8_t>> getContent() { return content_; }

    /// The mutex that guards the bytes; never null.
    std::shared_ptr<std::mutex> getMutex() const { return mutex_; }

    /// See readContent.
    long read(char* buffer, long count, unsigned long& position);

    /// See writeContent.
    long write(const char* buffer, long count, unsigned long& position, provider::ByteStreamAppend append);

    /// See seekContent.
    std::streampos seek(long offset, std::ios_base::seekdir direction, unsigned long& position);

    /// Empties the file for all nodes and streams that share its bytes. Keeps the capacity and all positions.
    void truncate();

    /// As `truncate`, and stamps the file in the same critical section.
    /// @return false if another thread held the mutex for too long; then nothing has changed
    bool tryTruncate(const boost::posix_time::ptime& time);

    /// As `getFileSize`.
    /// @return nothing if another thread held the mutex for too long
    std::optional<std::uint64_t> tryGetFileSize() const;

    /// Blocks until the mutex can be acquired.
    void waitUntilMutexIsFree() const;

private:
    bool doIsFolder() const override;

    std::shared_ptr<std::vector<std::uint8_t>> content_;
    std::shared_ptr<std::mutex> mutex_; ///< guards the bytes
};

} // namespace storage::inmemoryprovider
