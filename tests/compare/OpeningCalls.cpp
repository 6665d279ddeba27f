#include "tests/compare/CallKind.h"

#include <array>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace syscalls {

namespace {

/// O_NONBLOCK, because opening a fifo blocks otherwise.
constexpr int always = O_NONBLOCK | O_CLOEXEC;

std::int64_t openFlags(Choice& choice) {
    return choice.of({O_RDONLY, O_WRONLY, O_RDWR, O_RDWR}) | choice.flags({O_CREAT}, 2) |
           choice.flags({O_EXCL, O_TRUNC, O_APPEND}, 6) |
           choice.flags({O_SYNC, O_DSYNC, O_NOATIME, O_NOCTTY, O_NOFOLLOW, O_DIRECTORY, O_DIRECT}, 20);
}

void chooseOpening(Choice& choice, Call& call) {
    call.numbers = {choice.slot(), openFlags(choice), choice.permissions()};
    call.first = (call.numbers[1] & O_CREAT) != 0 && choice.oneIn(2) ? choice.fresh() : choice.file();
}

void open(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = ::open(call.first.c_str(), static_cast<int>(call.numbers[1]) | always,
                                  static_cast<mode_t>(call.numbers[2]));
    outcome.result(descriptor < 0 ? -1 : 0);
    process.put(call.numbers[0], descriptor);
}

void openAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor =
        ::openat(process.descriptor(call.numbers[3]), call.first.c_str(),
                 static_cast<int>(call.numbers[1]) | always, static_cast<mode_t>(call.numbers[2]));
    outcome.result(descriptor < 0 ? -1 : 0);
    process.put(call.numbers[0], descriptor);
}

void openAt2(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    open_how how{};
    how.flags = static_cast<unsigned long long>(call.numbers[1] | always);
    how.mode = (call.numbers[1] & O_CREAT) != 0 ? static_cast<unsigned long long>(call.numbers[2]) : 0;
    how.resolve = static_cast<unsigned long long>(call.numbers[4]);
    const int descriptor = static_cast<int>(
        ::syscall(SYS_openat2, process.descriptor(call.numbers[3]), call.first.c_str(), &how, sizeof(how)));
    outcome.result(descriptor < 0 ? -1 : 0);
    process.put(call.numbers[0], descriptor);
}

/// creat(2) on a fifo blocks until there is a reader, so a fifo is not opened.
void create(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct stat status {};
    if (::stat(call.first.c_str(), &status) == 0 && S_ISFIFO(status.st_mode)) {
        outcome.add("result", "a fifo");
        return;
    }
    const int descriptor = ::creat(call.first.c_str(), static_cast<mode_t>(call.numbers[2]));
    outcome.result(descriptor < 0 ? -1 : 0);
    process.put(call.numbers[0], descriptor);
}

void duplicate(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = ::fcntl(process.descriptor(call.numbers[0]), F_DUPFD_CLOEXEC, 0);
    outcome.result(descriptor < 0 ? -1 : 0);
    process.put(call.numbers[1], descriptor);
}

void getFlags(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::fcntl(process.descriptor(call.numbers[0]), F_GETFL));
}

void setFlags(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::fcntl(process.descriptor(call.numbers[0]), F_SETFL,
                           static_cast<int>(call.numbers[1]) | O_NONBLOCK));
}

void setUmask(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::umask(static_cast<mode_t>(call.numbers[0])));
}

void chooseCreating(Choice& choice, Call& call) {
    call.numbers = {choice.slot(), 0, choice.permissions()};
    call.first = choice.fresh() + "-made";
}

constexpr std::array openingKinds{
    CallKind{"open", 40, chooseOpening, open, Effect::OpensFile},
    CallKind{"openat", 12,
             [](Choice& choice, Call& call) {
                 chooseOpening(choice, call);
                 call.numbers[3] = choice.folderSlot();
                 call.first = choice.oneIn(3) ? call.first : choice.name();
             },
             openAt, Effect::Nothing},
    CallKind{"openat2", 6,
             [](Choice& choice, Call& call) {
                 chooseOpening(choice, call);
                 call.numbers[3] = choice.folderSlot();
                 call.numbers[4] =
                     choice.of({0, RESOLVE_BENEATH, RESOLVE_IN_ROOT, RESOLVE_NO_SYMLINKS, RESOLVE_NO_XDEV});
                 call.numbers[2] &= 0777;
             },
             openAt2},
    CallKind{"open_folder", 10,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.slot(), O_RDONLY | O_DIRECTORY | choice.flags({O_NOFOLLOW}, 4)};
                 call.first = choice.folder();
             },
             open, Effect::OpensFolder},
    CallKind{"open_path", 4,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.slot(), O_PATH | choice.flags({O_NOFOLLOW, O_DIRECTORY}, 3)};
                 call.first = choice.path();
             },
             open},
    CallKind{"open_tmpfile", 5,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.slot(),
                                 O_TMPFILE | choice.of({O_RDWR, O_RDWR, O_WRONLY, O_RDONLY}) |
                                     choice.flags({O_EXCL}, 6),
                                 choice.permissions()};
                 call.first = choice.folder();
             },
             open, Effect::OpensFile},
    CallKind{"creat", 3, chooseCreating, create, Effect::MakesFile},
    CallKind{"close", 16, [](Choice& choice, Call& call) { call.numbers[0] = choice.slot(); },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(process.close(call.numbers[0]));
             },
             Effect::Closes},
    CallKind{"dup", 2,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.slot(), choice.slot()};
             },
             duplicate},
    CallKind{"fcntl_getfl", 2, [](Choice& choice, Call& call) { call.numbers[0] = choice.slot(); }, getFlags},
    CallKind{"fcntl_setfl", 2,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.slot(), choice.flags({O_APPEND, O_NOATIME}, 3)};
             },
             setFlags},
    CallKind{"umask", 1,
             [](Choice& choice, Call& call) {
                 call.numbers[0] = choice.of({022, 0, 077, 027, 0777});
             },
             setUmask},
};

} // namespace

std::span<const CallKind> openingCalls() {
    return openingKinds;
}

} // namespace syscalls
