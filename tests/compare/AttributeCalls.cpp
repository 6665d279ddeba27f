#include "tests/compare/CallKind.h"

#include <array>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace syscalls {

namespace {

void chooseModeOfPath(Choice& choice, Call& call) {
    call.first = choice.path();
    call.numbers[0] = choice.permissions();
}

void changeModeAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::fchmodat(process.descriptor(call.numbers[1]), call.first.c_str(),
                              static_cast<mode_t>(call.numbers[0]), 0));
}

void chooseOwnerOfPath(Choice& choice, Call& call) {
    call.first = choice.path();
    const auto [user, group] = choice.owners();
    call.numbers = {user, group};
}

uid_t id(std::int64_t number) {
    return static_cast<uid_t>(number);
}

void chooseTimes(Choice& choice, Call& call) {
    const auto accessed = choice.time();
    const auto modified = choice.time();
    call.numbers = {accessed.first, accessed.second, modified.first, modified.second};
}

std::array<timespec, 2> timesOf(const Call& call) {
    return {timespec{call.numbers[0], call.numbers[1]}, timespec{call.numbers[2], call.numbers[3]}};
}

void changeTimes(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::utimensat(process.descriptor(call.numbers[4]), call.first.c_str(), timesOf(call).data(),
                               static_cast<int>(call.numbers[5])));
}

void changeTimesOfDescriptor(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::futimens(process.descriptor(call.numbers[4]), timesOf(call).data()));
}

void statusAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct stat status {};
    const int flags = static_cast<int>(call.numbers[1]);
    if (outcome.result(::fstatat(process.descriptor(call.numbers[0]), call.first.c_str(), &status, flags))) {
        process.addStatus(outcome, status);
    }
}

timespec timeOf(const statx_timestamp& time) {
    return {time.tv_sec, static_cast<long>(time.tv_nsec)};
}

void extendedStatus(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct statx status {};
    if (!outcome.result(::statx(process.descriptor(call.numbers[0]), call.first.c_str(),
                                static_cast<int>(call.numbers[1]), static_cast<unsigned>(call.numbers[2]),
                                &status))) {
        return;
    }
    const bool isFolder = S_ISDIR(status.stx_mode);
    outcome.add("statx.mask", fmt::format("{:x}", status.stx_mask & (STATX_BASIC_STATS | STATX_BTIME)));
    outcome.add("mode", fmt::format("{:o}", status.stx_mode));
    outcome.add(isFolder ? "folder.nlink" : "nlink", std::uint64_t{status.stx_nlink});
    outcome.add("uid", std::uint64_t{status.stx_uid});
    outcome.add("gid", std::uint64_t{status.stx_gid});
    outcome.add(isFolder ? "folder.size" : "size", std::uint64_t{status.stx_size});
    outcome.add("rdev", fmt::format("{}:{}", status.stx_rdev_major, status.stx_rdev_minor));
    outcome.add("atime", process.formatAccessTime(timeOf(status.stx_atime)));
    const bool isFifo = S_ISFIFO(status.stx_mode);
    outcome.add(isFifo ? "fifo.mtime" : "mtime", process.formatTime(timeOf(status.stx_mtime)));
    outcome.add(isFifo ? "fifo.ctime" : "ctime", process.formatTime(timeOf(status.stx_ctime)));
    outcome.add("btime", process.formatTime(timeOf(status.stx_btime)));
}

constexpr std::array attributeKinds{
    CallKind{"chmod", 10, chooseModeOfPath,
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::chmod(call.first.c_str(), static_cast<mode_t>(call.numbers[0])));
             }},
    CallKind{"fchmod", 4,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.permissions(), choice.fileSlot()};
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(
                     ::fchmod(process.descriptor(call.numbers[1]), static_cast<mode_t>(call.numbers[0])));
             }},
    CallKind{"fchmodat", 3,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.permissions(), choice.folderSlot()};
                 call.first = choice.name();
             },
             changeModeAt},
    CallKind{"chown", 8, chooseOwnerOfPath,
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::chown(call.first.c_str(), id(call.numbers[0]), id(call.numbers[1])));
             }},
    CallKind{"lchown", 4, chooseOwnerOfPath,
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::lchown(call.first.c_str(), id(call.numbers[0]), id(call.numbers[1])));
             }},
    CallKind{"fchown", 4,
             [](Choice& choice, Call& call) {
                 const auto [user, group] = choice.owners();
                 call.numbers = {user, group, choice.fileSlot()};
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(
                     ::fchown(process.descriptor(call.numbers[2]), id(call.numbers[0]), id(call.numbers[1])));
             }},
    CallKind{"fchownat", 3,
             [](Choice& choice, Call& call) {
                 const auto [user, group] = choice.owners();
                 call.numbers = {user, group, choice.folderSlot(),
                                 choice.of({0, AT_SYMLINK_NOFOLLOW, AT_EMPTY_PATH, 0x800000})};
                 call.first = choice.oneIn(5) ? "" : choice.name();
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::fchownat(process.descriptor(call.numbers[2]), call.first.c_str(),
                                           id(call.numbers[0]), id(call.numbers[1]),
                                           static_cast<int>(call.numbers[3])));
             }},
    CallKind{"utimensat", 10,
             [](Choice& choice, Call& call) {
                 chooseTimes(choice, call);
                 call.numbers[4] = currentFolder;
                 call.numbers[5] = choice.oneIn(4) ? AT_SYMLINK_NOFOLLOW : 0;
                 call.first = choice.path();
             },
             changeTimes},
    CallKind{"futimens", 4,
             [](Choice& choice, Call& call) {
                 chooseTimes(choice, call);
                 call.numbers[4] = choice.fileSlot();
             },
             changeTimesOfDescriptor},
    CallKind{"access", 5,
             [](Choice& choice, Call& call) {
                 call.first = choice.path();
                 call.numbers[0] = choice.below(8);
             },
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::access(call.first.c_str(), static_cast<int>(call.numbers[0])));
             }},
    CallKind{"faccessat", 3,
             [](Choice& choice, Call& call) {
                 call.first = choice.name();
                 call.numbers = {choice.below(8), choice.folderSlot(),
                                 choice.of({0, AT_EACCESS, AT_SYMLINK_NOFOLLOW})};
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::faccessat(process.descriptor(call.numbers[1]), call.first.c_str(),
                                            static_cast<int>(call.numbers[0]),
                                            static_cast<int>(call.numbers[2])));
             }},
    CallKind{"stat", 14,
             [](Choice& choice, Call& call) {
                 call.first = choice.path();
                 call.numbers[0] = currentFolder;
             },
             statusAt},
    CallKind{"lstat", 12,
             [](Choice& choice, Call& call) {
                 call.first = choice.path();
                 call.numbers = {currentFolder, AT_SYMLINK_NOFOLLOW};
             },
             statusAt},
    CallKind{"fstat", 12,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.slot(), AT_EMPTY_PATH};
             },
             statusAt},
    CallKind{"fstatat", 6,
             [](Choice& choice, Call& call) {
                 call.first = choice.name();
                 call.numbers = {choice.folderSlot(),
                                 choice.of({0, AT_SYMLINK_NOFOLLOW, AT_NO_AUTOMOUNT, 0x800000})};
             },
             statusAt},
    CallKind{"statx", 8,
             [](Choice& choice, Call& call) {
                 call.first = choice.path();
                 call.numbers = {currentFolder, choice.oneIn(2) ? AT_SYMLINK_NOFOLLOW : 0,
                                 choice.oneIn(20) ? -1 : STATX_BASIC_STATS | STATX_BTIME};
             },
             extendedStatus},
};

} // namespace

std::span<const CallKind> attributeCalls() {
    return attributeKinds;
}

} // namespace syscalls
