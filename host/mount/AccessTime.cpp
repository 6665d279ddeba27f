#include "host/mount/AccessTime.h"

#include "host/mount/KernelTime.h"

namespace storage::host {

namespace {

constexpr std::time_t day = 86'400; // seconds

bool isNotAfter(const timespec& time, const timespec& other) {
    return time.tv_sec != other.tv_sec ? time.tv_sec < other.tv_sec : time.tv_nsec <= other.tv_nsec;
}

} // namespace

void noteAccess(Inode& inode) {
    EntryAttributes& attributes = inode.attributes;
    const timespec accessed = attributes.accessed;
    const timespec now = kernelTime();
    if (isNotAfter(accessed, attributes.modified) || isNotAfter(accessed, attributes.changed) ||
        now.tv_sec - accessed.tv_sec >= day) {
        attributes.accessed = now;
    }
}

} // namespace storage::host
