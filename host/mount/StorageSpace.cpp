#include "host/mount/StorageSpace.h"

#include "host/mount/ErrnoError.h"
#include "host/mount/FreeHeap.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <cerrno>

namespace storage::host {

using provider::ErrorCode;
using provider::Exception;
using provider::ProviderStorageInfo;
using provider::StorageIRI;

namespace {

constexpr std::uint64_t largestGrant = 64U << 20U; ///< bytes that may be allocated without another check

/// Available bytes below which growing operations exclude each other: above the peaks of all operations that
/// may run concurrently.
constexpr std::uint64_t scarceBelow = 64U << 20U;

/// An eighth of the available memory is granted: content may take several times its size, in half-empty
/// blocks and in blocks that it outgrows.
constexpr std::uint64_t grantedPart = 8;

constexpr std::uint64_t mostLeftToOthers = 128U << 20U;

/// Bytes left to the rest of the machine or of the control group, and to requests that do not grow the
/// storage. Operations may still use a part of them: `transientBeyond`, `untouchedByReuse`.
std::uint64_t leftToOthers(std::uint64_t capacity) {
    constexpr std::uint64_t part = 128;
    return std::min(mostLeftToOthers, capacity / part);
}

/// Bytes left to other processes in the same control group: for programs that start, for their buffers, and
/// for dirty pages of the mount. Dirty pages cannot be freed before the storage has allocated a copy.
std::uint64_t leftToSharers(std::uint64_t capacity) {
    constexpr std::uint64_t part = 64;
    constexpr std::uint64_t least = 8U << 20U;
    return std::clamp<std::uint64_t>(capacity / part, least, mostLeftToOthers);
}

/// Bytes left to an export: for its buffers, for the target's dirty pages and inodes, and for what it
/// remembers of files with hard links.
std::uint64_t leftToExport(std::uint64_t capacity, std::uint64_t hardLinks) {
    constexpr std::uint64_t part = 32;
    constexpr std::uint64_t least = 16U << 20U;
    constexpr std::uint64_t perLink = 512;
    return std::clamp<std::uint64_t>(capacity / part, least, mostLeftToOthers) + perLink * hardLinks;
}

/// Bytes of the part left to others that no operation may use, even at its peak.
constexpr std::uint64_t neverTaken = 512U << 10U;

/// Transient bytes of an operation beyond the part left to others.
std::uint64_t transientBeyond(std::uint64_t transient, const ProviderStorageInfo& info) {
    const std::uint64_t covered = leftToOthers(info.capacity);
    return transient == 0 || transient + neverTaken <= covered ? 0 : transient + neverTaken - covered;
}

/// Free memory of the heap can hold growth by at most a page: a larger free block has no physical memory.
constexpr std::uint64_t largestReuse = 4U << 10U;

/// Bytes of the part left to others that small operations may not use. They may use the other bytes of that
/// part, because not all of their allocations fit into free memory of the heap.
std::uint64_t untouchedByReuse(std::uint64_t left) {
    return std::max(left / 2, neverTaken);
}

} // namespace

StorageSpace::Turn::Turn(StorageSpace& space)
    : space_(space), isHeld_(space.isScarce_.load() || space.quota_.isScarce()) {
    if (isHeld_) {
        space_.turn_.lock();
    }
}

StorageSpace::Turn::~Turn() {
    if (isHeld_) {
        space_.turn_.unlock();
    }
}

std::uint64_t StorageSpace::leftFree(const MachineMemory& memory) const {
    const std::uint64_t capacity = memory.info.capacity;
    if (linksToExport_ != nullptr) {
        return leftToExport(capacity, *linksToExport_);
    }
    return memory.isShared ? leftToSharers(capacity) : leftToOthers(capacity);
}

StorageSpace::Room StorageSpace::room() const {
    try {
        return {provider_.doGetProviderStorageInfo(StorageIRI(u"/")), "the free space of the storage"};
    } catch (const Exception& error) {
        if (error.getErrorCode() != ErrorCode::NotOffered) {
            throw;
        }
    }
    MachineMemory memory = MachineMemory::read(sources_);
    const std::uint64_t left = leftFree(memory);
    const std::uint64_t unused = memory.info.available;
    memory.info.available -= std::min<std::uint64_t>(unused, left);
    return {memory.info, std::move(memory.limitedBy), true,
            unused - std::min(unused, untouchedByReuse(left))};
}

ProviderStorageInfo StorageSpace::info() const {
    Room room = this->room();
    if (room.slack > 0) {
        room.info.available += reusable(room.info.capacity);
    }
    return quota_.limited(room.info);
}

void StorageSpace::require(std::uint64_t bytes, std::uint64_t transient) {
    if (bytes == 0) {
        return; // also when memory is exhausted: truncating a file to 0 must succeed
    }
    if (!reserve_.isComplete()) {
        throw ErrnoError(ENOSPC);
    }
    const bool isSmall = bytes + transient <= largestReuse;
    const auto countGrowth = [&] {
        if (isSmall) {
            freeHeap_ -= static_cast<std::int64_t>(bytes);
        }
    };
    const bool isChecked = isScarce_ && transient > 0;
    if ((!isChecked && bytes <= largestGrant && take(granted_, bytes)) || (isSmall && take(reuse_, bytes))) {
        countGrowth();
        return;
    }
    Room room = this->room();
    const std::uint64_t peak = bytes + (room.isMemory ? transientBeyond(transient, room.info) : 0);
    const auto fits = [&] { return peak <= room.info.available || (isSmall && grantReuse(bytes, room)); };
    bool isFitting = fits();
    if (!isFitting && giveBack()) {
        room = this->room();
        isFitting = fits();
    }
    isScarce_ = room.isMemory && room.info.available < scarceBelow;
    const std::uint64_t left = room.info.available - std::min<std::uint64_t>(room.info.available, peak);
    granted_ = static_cast<std::int64_t>(std::min(room.isMemory ? left / grantedPart : left, largestGrant));
    if (!isFitting) {
        throw ErrnoError(ENOSPC);
    }
    countGrowth();
}

bool StorageSpace::take(std::atomic<std::int64_t>& granted, std::uint64_t bytes) noexcept {
    return granted.fetch_sub(static_cast<std::int64_t>(bytes)) >= static_cast<std::int64_t>(bytes);
}

std::uint64_t StorageSpace::reusable(std::uint64_t capacity) const noexcept {
    const std::int64_t free = freeHeap_ - static_cast<std::int64_t>(leftToOthers(capacity));
    return free > 0 ? static_cast<std::uint64_t>(free) : 0;
}

bool StorageSpace::grantReuse(std::uint64_t bytes, const Room& room) noexcept {
    const std::uint64_t free = reusable(room.info.capacity);
    if (bytes > room.slack || bytes >= free) {
        reuse_ = 0;
        return false;
    }
    reuse_ = static_cast<std::int64_t>(std::min(free - bytes, (room.slack - bytes) / grantedPart));
    isHeapChanged_ = true; // its free memory is measured again before a later growth is refused
    return true;
}

bool StorageSpace::giveBack() noexcept {
    if (!isHeapChanged_.exchange(false)) {
        return false;
    }
    trimHeap();
    try {
        freeHeap_ = static_cast<std::int64_t>(readFreeHeap(sources_.processes));
    } catch (...) { // no memory to read it
        freeHeap_ = 0;
    }
    return true;
}

} // namespace storage::host
