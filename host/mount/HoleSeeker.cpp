#include "host/mount/HoleSeeker.h"

#include "host/mount/ErrnoError.h"
#include "host/mount/MountedStorage.h"

#include <cerrno>
#include <limits>
#include <utility>

namespace storage::host {

namespace {

constexpr std::uint64_t noData = std::numeric_limits<std::uint64_t>::max();

std::uint64_t knownDataFrom(MountedStorage& storage, FileInode& file, std::uint64_t offset) {
    try {
        return storage.seekData(file, offset);
    } catch (const ErrnoError& error) {
        if (error.number() != ENXIO) {
            throw;
        }
        return noData;
    }
}

} // namespace

HoleSeeker::~HoleSeeker() {
    stop();
}

void HoleSeeker::add(const Seek& seek) {
    const ScopedLock lock(mutex_);
    if (isStopped_) {
        throw ErrnoError(ENOTCONN);
    }
    if (!thread_.joinable()) {
        thread_ = std::thread([this] { serve(); });
    }
    seeks_.push_back(seek);
    added_.notify_one();
}

void HoleSeeker::stop() noexcept {
    std::thread ending;
    {
        const ScopedLock lock(mutex_);
        isStopped_ = true;
        ending = std::move(thread_);
    }
    added_.notify_one();
    if (ending.joinable()) {
        ending.join();
    }
    const ScopedLock lock(mutex_);
    for (const Seek& seek : seeks_) {
        fuse_reply_err(seek.request, ENOTCONN);
    }
    seeks_.clear();
}

void HoleSeeker::serve() {
    for (;;) {
        Seek seek{};
        {
            const ScopedLock lock(mutex_);
            while (seeks_.empty() && !isStopped_) {
                added_.wait(mutex_);
            }
            if (isStopped_) {
                return;
            }
            seek = seeks_.front();
            seeks_.pop_front();
        }
        reply(seek);
    }
}

void HoleSeeker::reply(const Seek& seek) noexcept {
    try {
        fuse_reply_lseek(seek.request, static_cast<off_t>(find(seek)));
    } catch (...) {
        fuse_reply_err(seek.request, errnoOfCurrentException());
    }
}

std::uint64_t HoleSeeker::find(const Seek& seek) {
    return seek.target == Target::Data ? findData(seek) : findHole(seek);
}

/// Data before the first known data may be in the kernel's cache.
std::uint64_t HoleSeeker::findData(const Seek& seek) {
    const std::uint64_t known = knownDataFrom(storage_, *seek.file, seek.offset);
    if (known == seek.offset) {
        return known;
    }
    writeBack(seek.session, seek.number,
              {seek.offset / pageSize, known == noData ? endOfPages : pagesOf(known)});
    return storage_.seekData(*seek.file, seek.offset);
}

/// Dirty pages in the kernel's cache may fill a hole. Then the search continues after them.
std::uint64_t HoleSeeker::findHole(const Seek& seek) {
    std::uint64_t writtenBackTo = seek.offset / pageSize;
    for (;;) {
        // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): the next call may throw
        std::uint64_t hole = seek.offset;
        std::uint64_t data = noData;
        try {
            hole = storage_.seekHole(*seek.file, seek.offset);
            data = knownDataFrom(storage_, *seek.file, hole);
        } catch (const ErrnoError& error) {
            // ENXIO: the offset is beyond the end of the written data.
            if (error.number() != ENXIO || writtenBackTo == endOfPages) {
                throw;
            }
        }
        if (hole / pageSize < writtenBackTo) {
            return hole;
        }
        writtenBackTo = data == noData ? endOfPages : pagesOf(data);
        writeBack(seek.session, seek.number, {hole / pageSize, writtenBackTo});
    }
}

} // namespace storage::host
