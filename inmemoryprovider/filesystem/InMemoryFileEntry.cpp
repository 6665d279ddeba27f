#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"

#include "inmemoryprovider/access/ContentGuard.h"
#include "inmemoryprovider/access/ContentIO.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryFileEntry::InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified,
                                     bool writable, std::shared_ptr<std::vector<std::uint8_t>> content)
    : InMemoryEntry(std::move(path), lastModified, writable),
      content_(std::move(content)),
      mutex_(guardOf(content_)) {}

InMemoryFileEntry::InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified,
                                     bool writable)
    : InMemoryFileEntry(std::move(path), lastModified, writable, makeGuardedContent()) {}

std::uint64_t InMemoryFileEntry::getFileSize() const {
    const std::lock_guard lock(mutex_);
    return content_->size();
}

std::shared_ptr<std::vector<std::uint8_t>> InMemoryFileEntry::getContent() {
    const std::lock_guard lock(mutex_);
    return content_;
}

long InMemoryFileEntry::read(char* buffer, long count, unsigned long& position) {
    const std::lock_guard lock(mutex_);
    return readContent(*content_, buffer, count, position);
}

long InMemoryFileEntry::write(const char* buffer, long count, unsigned long& position,
                              foundation::storage::provider::ByteStreamAppend append) {
    const std::lock_guard lock(mutex_);
    return writeContent(*content_, buffer, count, position, append);
}

std::streampos InMemoryFileEntry::seek(long offset, std::ios_base::seekdir direction,
                                       unsigned long& position) {
    const std::lock_guard lock(mutex_);
    return seekContent(*content_, offset, direction, position);
}

void InMemoryFileEntry::truncate() {
    const std::lock_guard lock(mutex_);
    content_->clear();
}

bool InMemoryFileEntry::doIsFolder() const {
    return false;
}

} // namespace storage::inmemoryprovider
