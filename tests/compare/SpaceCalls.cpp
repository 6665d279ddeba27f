#include "tests/compare/CallKind.h"

#include <array>
#include <fcntl.h>
#include <linux/falloc.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace syscalls {

namespace {

/// Skips folders, because each file system defines the positions in a folder.
void seek(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct stat status {};
    if (::fstat(process.descriptor(call.numbers[0]), &status) == 0 && S_ISDIR(status.st_mode)) {
        outcome.add("result", notMade);
        return;
    }
    outcome.result(
        ::lseek(process.descriptor(call.numbers[0]), call.numbers[2], static_cast<int>(call.numbers[1])));
}

/// Skips a truncation that would not change the size, if such truncations are excluded.
bool isSkipped(CallProcess& process, const struct stat& status, std::int64_t size, OutcomeBuilder& outcome) {
    const bool isUnchanged = S_ISREG(status.st_mode) && status.st_size == size;
    if (!isUnchanged || !process.exclusions().has("truncate.same-size")) {
        return false;
    }
    outcome.add("result", notMade);
    return true;
}

void truncatePath(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct stat status {};
    if (::stat(call.first.c_str(), &status) != 0 || !isSkipped(process, status, call.numbers[0], outcome)) {
        outcome.result(::truncate(call.first.c_str(), call.numbers[0]));
    }
}

void truncateSlot(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int file = process.descriptor(call.numbers[0]);
    struct stat status {};
    if (::fstat(file, &status) != 0 || !isSkipped(process, status, call.numbers[1], outcome)) {
        outcome.result(::ftruncate(file, call.numbers[1]));
    }
}

template <int whence>
void chooseSeeking(Choice& choice, Call& call) {
    call.numbers = {choice.fileSlot(), whence, choice.offset()};
}

template <int mode>
void chooseAllocation(Choice& choice, Call& call) {
    call.numbers = {choice.fileSlot(), mode, choice.offset(), choice.length() + (choice.oneIn(20) ? 0 : 1)};
}

void allocate(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::fallocate(process.descriptor(call.numbers[0]), static_cast<int>(call.numbers[1]),
                               call.numbers[2], call.numbers[3]));
}

void addSpace(const struct statvfs& space, OutcomeBuilder& outcome) {
    outcome.add("namemax", std::uint64_t{space.f_namemax});
    outcome.add("bsize", std::uint64_t{space.f_bsize});
    outcome.add("frsize", std::uint64_t{space.f_frsize});
    const bool isPlausible =
        space.f_bavail <= space.f_bfree && space.f_bfree <= space.f_blocks && space.f_blocks > 0;
    outcome.add("space", isPlausible ? "plausible" : "implausible");
    const bool countsEntries = space.f_ffree <= space.f_files && space.f_files > 0;
    outcome.add("entries", countsEntries ? "plausible" : "implausible");
}

constexpr std::array spaceKinds{
    CallKind{"lseek_set", 4, chooseSeeking<SEEK_SET>, seek},
    CallKind{"lseek_cur", 2, chooseSeeking<SEEK_CUR>, seek},
    CallKind{"lseek_end", 3, chooseSeeking<SEEK_END>, seek},
    CallKind{"lseek_data", 5, chooseSeeking<SEEK_DATA>, seek},
    CallKind{"lseek_hole", 5, chooseSeeking<SEEK_HOLE>, seek},
    CallKind{"lseek_invalid", 1, chooseSeeking<77>, seek},
    CallKind{"truncate", 6,
             [](Choice& choice, Call& call) {
                 call.numbers[0] = choice.offset();
                 call.first = choice.file();
             },
             truncatePath},
    CallKind{"ftruncate", 8,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.fileSlot(), choice.offset()};
             },
             truncateSlot},
    CallKind{"fallocate", 4, chooseAllocation<0>, allocate},
    CallKind{"fallocate_keep_size", 4, chooseAllocation<FALLOC_FL_KEEP_SIZE>, allocate},
    CallKind{"fallocate_punch_hole", 6, chooseAllocation<FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE>,
             allocate},
    CallKind{"fallocate_zero_range", 3, chooseAllocation<FALLOC_FL_ZERO_RANGE>, allocate},
    CallKind{"fallocate_invalid", 2, chooseAllocation<FALLOC_FL_PUNCH_HOLE>, allocate},
    CallKind{"fallocate_collapse", 1, chooseAllocation<FALLOC_FL_COLLAPSE_RANGE>, allocate},
    CallKind{"fallocate_insert", 1, chooseAllocation<FALLOC_FL_INSERT_RANGE>, allocate},
    CallKind{"statvfs", 1, [](Choice& choice, Call& call) { call.first = choice.path(); },
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 struct statvfs space {};
                 if (outcome.result(::statvfs(call.first.c_str(), &space))) {
                     addSpace(space, outcome);
                 }
             }},
    CallKind{"fstatvfs", 1, [](Choice& choice, Call& call) { call.numbers[0] = choice.slot(); },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 struct statvfs space {};
                 if (outcome.result(::fstatvfs(process.descriptor(call.numbers[0]), &space))) {
                     addSpace(space, outcome);
                 }
             }},
};

} // namespace

std::span<const CallKind> spaceCalls() {
    return spaceKinds;
}

} // namespace syscalls
