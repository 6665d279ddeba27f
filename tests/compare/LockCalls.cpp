#include "tests/compare/CallKind.h"

#include <array>
#include <fcntl.h>
#include <sys/file.h>

namespace syscalls {

namespace {

struct flock lockOf(const Call& call) {
    struct flock lock {};
    lock.l_type = static_cast<short>(call.numbers[1]);
    lock.l_whence = SEEK_SET;
    lock.l_start = call.numbers[2];
    lock.l_len = call.numbers[3];
    return lock;
}

void chooseRange(Choice& choice, Call& call) {
    call.numbers = {choice.fileSlot(), choice.of({F_RDLCK, F_WRLCK, F_WRLCK, F_UNLCK}), choice.below(20),
                    choice.below(10)};
}

template <int command>
void setLock(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const struct flock lock = lockOf(call);
    outcome.result(::fcntl(process.descriptor(call.numbers[0]), command, &lock));
}

template <int command>
void getLock(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    struct flock lock = lockOf(call);
    if (outcome.result(::fcntl(process.descriptor(call.numbers[0]), command, &lock))) {
        outcome.add("type", std::to_string(lock.l_type));
        outcome.add("start", std::to_string(lock.l_start));
        outcome.add("length", std::to_string(lock.l_len));
    }
}

constexpr std::array lockKinds{
    CallKind{"flock", 3,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.fileSlot(), choice.of({LOCK_SH, LOCK_EX, LOCK_UN})};
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::flock(process.descriptor(call.numbers[0]),
                                        static_cast<int>(call.numbers[1]) | LOCK_NB));
             }},
    CallKind{"fcntl_setlk", 3, chooseRange, setLock<F_SETLK>},
    CallKind{"fcntl_getlk", 2, chooseRange, getLock<F_GETLK>},
    CallKind{"fcntl_ofd_setlk", 2, chooseRange, setLock<F_OFD_SETLK>},
    CallKind{"fcntl_ofd_getlk", 1, chooseRange, getLock<F_OFD_GETLK>},
};

} // namespace

std::span<const CallKind> lockCalls() {
    return lockKinds;
}

} // namespace syscalls
