#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/access/ContentIO.h"
#include "inmemoryprovider/filesystem/SpinWait.h"

#include <utility>

namespace storage::inmemoryprovider {

namespace {

/// Bytes and mutex in one allocation.
struct GuardedContent {
    std::vector<std::uint8_t> bytes;
    std::mutex mutex;
};

} // namespace

InMemoryFileEntry::InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified,
                                     bool writable, std::shared_ptr<std::vector<std::uint8_t>> content,
                                     std::shared_ptr<std::mutex> mutex)
    : InMemoryEntry(std::move(path), lastModified, writable),
      content_(std::move(content)),
      mutex_(std::move(mutex)) {}

InMemoryFileEntry::InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified,
                                     bool writable)
    : InMemoryEntry(std::move(path), lastModified, writable) {
    auto guarded = std::make_shared<GuardedContent>();
    content_ = {guarded, &guarded->bytes};
    auto& mutex = guarded->mutex;
    mutex_ = {std::move(guarded), &mutex};
}

std::uint64_t InMemoryFileEntry::getFileSize() const {
    const std::lock_guard lock(*mutex_);
    return content_->size();
}

long InMemoryFileEntry::read(char* buffer, long count, unsigned long& position) {
    const std::lock_guard lock(*mutex_);
    return readContent(*content_, buffer, count, position);
}

long InMemoryFileEntry::write(const char* buffer, long count, unsigned long& position,
                              provider::ByteStreamAppend append) {
    const std::lock_guard lock(*mutex_);
    return writeContent(*content_, buffer, count, position, append);
}

std::streampos InMemoryFileEntry::seek(long offset, std::ios_base::seekdir direction,
                                       unsigned long& position) {
    const std::lock_guard lock(*mutex_);
    return seekContent(*content_, offset, direction, position);
}

void InMemoryFileEntry::truncate() {
    const std::lock_guard lock(*mutex_);
    content_->clear();
}

bool InMemoryFileEntry::tryTruncate(const boost::posix_time::ptime& time) {
    if (!spinTryLock(*mutex_)) {
        return false;
    }
    const std::lock_guard lock(*mutex_, std::adopt_lock);
    setLastModifiedTime(time);
    content_->clear();
    return true;
}

std::optional<std::uint64_t> InMemoryFileEntry::tryGetFileSize() const {
    if (!spinTryLock(*mutex_)) {
        return std::nullopt;
    }
    const std::lock_guard lock(*mutex_, std::adopt_lock);
    return content_->size();
}

void InMemoryFileEntry::waitUntilMutexIsFree() const {
    const std::lock_guard lock(*mutex_);
}

bool InMemoryFileEntry::doIsFolder() const {
    return false;
}

} // namespace storage::inmemoryprovider
