#include "inmemoryprovider/filesystem/InMemoryEntry.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryEntry::InMemoryEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable)
    : path_(std::move(path)), lastModified_(lastModified), writable_(writable) {}

InMemoryEntry::~InMemoryEntry() = default;

boost::posix_time::ptime InMemoryEntry::getLastModifiedTime() const noexcept {
    return lastModified_.load();
}

void InMemoryEntry::setLastModifiedTime(const boost::posix_time::ptime& time) noexcept {
    lastModified_.store(time);
}

bool InMemoryEntry::isWritable() const noexcept {
    return writable_.load();
}

void InMemoryEntry::setWritable(bool writable) noexcept {
    writable_.store(writable);
}

} // namespace storage::inmemoryprovider
