#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"

#include "inmemoryprovider/access/ContentGuard.h"
#include "inmemoryprovider/access/ContentIO.h"

#include <mutex>
#include <utility>

namespace storage::inmemoryprovider {

namespace {

/// What is read of a file without content.
const std::vector<std::uint8_t> emptyContent;

} // namespace

InMemoryFileEntry::InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified,
                                     bool writable, std::shared_ptr<std::vector<std::uint8_t>> content)
    : InMemoryEntry(std::move(path), lastModified, writable),
      contentState_(isGuardedContent(content) ? ContentState::Guarded : ContentState::Foreign),
      content_(std::move(content)) {}

InMemoryFileEntry::InMemoryFileEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified,
                                     bool writable)
    : InMemoryEntry(std::move(path), lastModified, writable) {}

std::uint64_t InMemoryFileEntry::getFileSize() const {
    if (!hasContent()) {
        return 0;
    }
    const std::lock_guard lock(contentMutex());
    return content_->size();
}

std::shared_ptr<std::vector<std::uint8_t>> InMemoryFileEntry::getContent() {
    makeContent();
    return content_;
}

bool InMemoryFileEntry::hasContent() const noexcept {
    return contentState() != ContentState::None;
}

std::mutex& InMemoryFileEntry::contentMutex() const noexcept {
    return contentState() == ContentState::Guarded ? static_cast<GuardedContent&>(*content_).mutex
                                                   : guardAt(content_.get());
}

void InMemoryFileEntry::makeContent() {
    if (hasContent()) {
        return;
    }
    const std::lock_guard lock(guardAt(this));
    if (!hasContent()) {
        content_ = makeGuardedContent();
        contentState_.store(ContentState::Guarded, std::memory_order_release);
    }
}

long InMemoryFileEntry::read(char* buffer, long count, unsigned long& position) {
    if (!hasContent()) {
        return readContent(emptyContent, buffer, count, position);
    }
    const std::lock_guard lock(contentMutex());
    return readContent(*content_, buffer, count, position);
}

long InMemoryFileEntry::write(const char* buffer, long count, unsigned long& position,
                              foundation::storage::provider::ByteStreamAppend append) {
    if (count <= 0 && !hasContent()) {
        std::vector<std::uint8_t> nothing;
        return writeContent(nothing, buffer, count, position, append);
    }
    makeContent();
    const std::lock_guard lock(contentMutex());
    return writeContent(*content_, buffer, count, position, append);
}

std::streampos InMemoryFileEntry::seek(long offset, std::ios_base::seekdir direction,
                                       unsigned long& position) {
    if (!hasContent()) {
        return seekContent(emptyContent, offset, direction, position);
    }
    const std::lock_guard lock(contentMutex());
    return seekContent(*content_, offset, direction, position);
}

void InMemoryFileEntry::truncate() {
    if (!hasContent()) {
        return;
    }
    const std::lock_guard lock(contentMutex());
    content_->clear();
}

bool InMemoryFileEntry::doIsFolder() const {
    return false;
}

} // namespace storage::inmemoryprovider
