#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntry.h"

#include "hostapi/storage/provider/ByteStreamAppend.h"

#include <atomic>
#include <cstdint>
#include <ios>
#include <memory>
#include <mutex>
#include <vector>

namespace storage::inmemoryprovider {

/// A file.
///
/// Shares its bytes with open streams and, after a move, with the node that took its place. The mutex that
/// guards the bytes belongs to the bytes, not to the node: all who share them lock the same one. It is the
/// last lock that any thread takes, and each operation holds it from start to end.
///
/// The bytes are made when they are first asked for or written: a file that stays empty takes no more memory than
/// its node. Once made, the pointer to them never changes.
///
/// Thread safety: every operation may be called from any number of threads; a position is its caller's own.
class InMemoryFileEntry : public InMemoryEntry {
public:
    /// A file that shares the bytes of `content`, which is not null.
    InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable,
                      std::shared_ptr<std::vector<std::uint8_t>> content);

    /// A file of no bytes.
    InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable);

    /// In bytes.
    std::uint64_t getFileSize() const;

    /// The bytes themselves, shared and not copied; never null. Who touches them has to exclude this file's operations.
    /// @throws std::bad_alloc
    std::shared_ptr<std::vector<std::uint8_t>> getContent();

    /// Whether there are bytes to share. Without, the file is empty.
    bool hasContent() const noexcept;

    /// See readContent.
    long read(char* buffer, long count, unsigned long& position);

    /// See writeContent.
    long write(const char* buffer, long count, unsigned long& position,
               foundation::storage::provider::ByteStreamAppend append);

    /// See seekContent.
    std::streampos seek(long offset, std::ios_base::seekdir direction, unsigned long& position);

    /// Empties the file for all who share its bytes. The memory is kept for what is written next; nobody's
    /// position changes.
    void truncate();

private:
    bool doIsFolder() const override;

    /// Whether there are bytes, and if so, which mutex guards them: their own, or, when they were made elsewhere, one
    /// chosen by their address.
    enum class ContentState : std::uint8_t { None, Guarded, Foreign };

    ContentState contentState() const noexcept { return contentState_.load(std::memory_order_acquire); }
    std::mutex& contentMutex() const noexcept;
    void makeContent();

    std::atomic<ContentState> contentState_ = ContentState::None; ///< set once, after `content_`
    std::shared_ptr<std::vector<std::uint8_t>> content_;
};

} // namespace storage::inmemoryprovider
