#include "tests/compare/CallProcess.h"

#include "tests/compare/Users.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <grp.h>
#include <system_error>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace syscalls {

namespace {

bool isBefore(const timespec& left, const timespec& right) {
    return std::tie(left.tv_sec, left.tv_nsec) < std::tie(right.tv_sec, right.tv_nsec);
}

/// Times that calls set are outside the range of the clock.
bool isSetByCall(const timespec& time) {
    constexpr time_t firstOfClock = 1'600'000'000;
    constexpr time_t lastOfClock = 4'900'000'000;
    return time.tv_sec < firstOfClock || time.tv_sec > lastOfClock;
}

} // namespace

CallProcess::CallProcess(const Exclusions& exclusions) : exclusions_(exclusions) {
    slots_.fill(-1);
}

void CallProcess::become(unsigned user) {
    if (user == user_) {
        return;
    }
    user_ = user;
    constexpr gid_t more = otherGroup;
    // The saved user IDs stay 0, so that the process can switch back. Permission checks do not use them.
    const bool isChanged =
        user == 0 ? ::setresuid(0, 0, 0) == 0 && ::setresgid(0, 0, 0) == 0 && ::setgroups(0, nullptr) == 0
                  : ::setgroups(1, &more) == 0 && ::setresgid(ordinaryGroup, ordinaryGroup, 0) == 0 &&
                        ::setresuid(ordinaryUser, ordinaryUser, 0) == 0;
    if (!isChanged) {
        throw std::system_error(errno, std::generic_category(), "switching the user");
    }
}

std::size_t CallProcess::index(std::int64_t slot) const {
    return user_ * TreeSketch::slots + static_cast<std::size_t>(slot);
}

int CallProcess::descriptor(std::int64_t slot) const {
    return slot < 0 ? AT_FDCWD : slots_.at(index(slot));
}

void CallProcess::put(std::int64_t slot, int descriptor) {
    if (descriptor >= 0) {
        const int error = errno;
        close(slot);
        errno = error;
        slots_.at(index(slot)) = descriptor;
    }
}

int CallProcess::close(std::int64_t slot) {
    return ::close(std::exchange(slots_.at(index(slot)), -1));
}

void CallProcess::addStatus(OutcomeBuilder& outcome, const struct stat& status,
                            const std::string& place) const {
    const auto add = [&](std::string_view name, const std::string& value) {
        outcome.addAt(place, name, value);
    };
    const bool isFolder = S_ISDIR(status.st_mode);
    const bool isFifo = S_ISFIFO(status.st_mode);
    add("mode", fmt::format("{:o}", status.st_mode));
    add(isFolder ? "folder.nlink" : "nlink", std::to_string(status.st_nlink));
    add("uid", std::to_string(status.st_uid));
    add("gid", std::to_string(status.st_gid));
    add(isFolder ? "folder.size" : "size", std::to_string(status.st_size));
    add(isFolder ? "folder.blocks" : "blocks", std::to_string(status.st_blocks));
    add("blksize", std::to_string(status.st_blksize));
    add("rdev", std::to_string(status.st_rdev));
    add("atime", formatAccessTime(status.st_atim));
    add(isFifo ? "fifo.mtime" : "mtime", formatTime(status.st_mtim));
    add(isFifo ? "fifo.ctime" : "ctime", formatTime(status.st_ctim));
}

std::string CallProcess::formatTime(timespec time) const {
    if (isSetByCall(time)) {
        return fmt::format("{}.{:09}", time.tv_sec, time.tv_nsec);
    }
    return fmt::format("epoch {}", std::ranges::upper_bound(epochs_, time, isBefore) - epochs_.begin());
}

std::string CallProcess::formatAccessTime(timespec time) const {
    return isSetByCall(time) || !exclusions_.has("atime.epoch") ? formatTime(time) : "of the clock";
}

} // namespace syscalls
