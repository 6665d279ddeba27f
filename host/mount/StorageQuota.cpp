#include "host/mount/StorageQuota.h"

#include "host/mount/ErrnoError.h"
#include "host/storage/TreeWalk.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <cerrno>

namespace storage::host {

namespace {

constexpr std::uint64_t scarce = 64U << 20U; ///< bytes: above the growth of all concurrent requests

} // namespace

StorageUse StorageUse::of(const provider::IProvider& provider) {
    using Kind = TreeWalk::Step::Kind;
    StorageUse use{0, 0};
    for (TreeWalk walk(provider, StoragePath()); const auto step = walk.next();) {
        use.entries += step->kind == Kind::FolderDone ? 0 : 1;
        if (step->kind == Kind::Folder) {
            walk.descend();
        } else if (step->kind == Kind::File) {
            use.bytes += pagesOf(provider.doGetFileAttributes(step->path.iri()).getSize()) * pageSize;
        }
    }
    return use;
}

void StorageQuota::requirePages(std::uint64_t pages) const {
    if (limits_.bytes && pages > bytesLeft() / pageSize) {
        throw ErrnoError(ENOSPC);
    }
}

void StorageQuota::requireEntry() const {
    if (limits_.entries && entries_ >= *limits_.entries) {
        throw ErrnoError(ENOSPC);
    }
}

void StorageQuota::notePages(std::uint64_t before, std::uint64_t now) noexcept {
    bytes_ += (now - before) * pageSize; // modulo 2^64, so the difference may be negative
}

void StorageQuota::noteDestroyed(const Inode& inode) noexcept {
    --entries_;
    if (inode.isFile()) {
        notePages(static_cast<const FileInode&>(inode).pages(), 0);
    }
}

bool StorageQuota::isScarce() const noexcept {
    return limits_.bytes && bytesLeft() < scarce;
}

StorageQuota::ProviderStorageInfo StorageQuota::limited(ProviderStorageInfo info) const noexcept {
    if (limits_.bytes) {
        info.capacity = *limits_.bytes;
        info.available = std::min<decltype(info.available)>(info.available, bytesLeft());
    }
    return info;
}

StorageQuota::Entries StorageQuota::entries(std::uint64_t available) const noexcept {
    const std::uint64_t used = entries_;
    const std::uint64_t total = limits_.entries.value_or(used + available / bytesOfEntry);
    return {total, total - std::min(total, used)};
}

std::uint64_t StorageQuota::bytesLeft() const noexcept {
    const std::uint64_t used = bytes_;
    return *limits_.bytes - std::min(*limits_.bytes, used);
}

} // namespace storage::host
