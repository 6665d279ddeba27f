#include "inmemoryprovider/filesystem/InMemoryEntry.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryEntry::InMemoryEntry(InMemoryEntryPath path, boost::posix_time::ptime lastModified, bool writable)
    : path_(std::move(path)), lastModified_(lastModified), writable_(writable) {}

InMemoryEntry::~InMemoryEntry() = default;

boost::posix_time::ptime InMemoryEntry::getLastModifiedTime() const noexcept {
    return lastModified_.load(std::memory_order_acquire);
}

void InMemoryEntry::setLastModifiedTime(const boost::posix_time::ptime& time) noexcept {
    lastModified_.store(time, std::memory_order_release);
}

bool InMemoryEntry::isWritable() const noexcept {
    return writable_.load(std::memory_order_acquire);
}

void InMemoryEntry::setWritable(bool writable) noexcept {
    writable_.store(writable, std::memory_order_release);
}

} // namespace storage::inmemoryprovider
