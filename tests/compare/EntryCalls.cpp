#include "tests/compare/CallKind.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace syscalls {

namespace {

void chooseFresh(Choice& choice, Call& call) {
    call.numbers[0] = choice.permissions();
    call.first = choice.oneIn(8) ? choice.path() : choice.fresh();
}

void chooseFreshAt(Choice& choice, Call& call) {
    call.numbers = {choice.permissions(), choice.folderSlot()};
    call.first = choice.name();
}

void makeFolder(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::mkdir(call.first.c_str(), static_cast<mode_t>(call.numbers[0])));
}

template <mode_t type, unsigned majorNumber = 0, unsigned minorNumber = 0>
void makeNode(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::mknod(call.first.c_str(), type | static_cast<mode_t>(call.numbers[0]),
                           makedev(majorNumber, minorNumber)));
}

void bindSocket(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    call.first.copy(address.sun_path, sizeof(address.sun_path) - 1);
    outcome.result(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    ::close(descriptor);
}

void chooseLink(Choice& choice, Call& call) {
    call.first = choice.oneIn(3) ? choice.path() : choice.file();
    call.second = choice.oneIn(6) ? choice.path() : choice.fresh();
}

void linkAt(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::linkat(process.descriptor(call.numbers[0]), call.first.c_str(),
                            process.descriptor(call.numbers[1]), call.second.c_str(),
                            static_cast<int>(call.numbers[2])));
}

void chooseSymbolicLink(Choice& choice, Call& call) {
    call.first = choice.oneIn(8) ? choice.path() : choice.fresh();
    call.second = choice.linkTarget();
}

void readLink(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    std::string target(static_cast<std::size_t>(call.numbers[0]), '\0');
    const ssize_t count =
        ::readlinkat(process.descriptor(call.numbers[1]), call.first.c_str(), target.data(), target.size());
    if (outcome.result(count)) {
        outcome.addBytes("target", std::string_view(target).substr(0, static_cast<std::size_t>(count)));
    }
}

void chooseRenaming(Choice& choice, Call& call) {
    call.first = choice.path();
    call.second = choice.oneIn(2) ? choice.path() : choice.fresh();
}

template <unsigned flags>
void renameWithFlags(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    outcome.result(::renameat2(AT_FDCWD, call.first.c_str(), AT_FDCWD, call.second.c_str(), flags));
}

constexpr std::array entryKinds{
    CallKind{"mkdir", 14, chooseFresh, makeFolder, Effect::MakesFolder},
    CallKind{"mkdirat", 3, chooseFreshAt,
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::mkdirat(process.descriptor(call.numbers[1]), call.first.c_str(),
                                          static_cast<mode_t>(call.numbers[0])));
             }},
    CallKind{"mknod_file", 4, chooseFresh, makeNode<S_IFREG>, Effect::MakesFile},
    CallKind{"mkfifo", 4, chooseFresh, makeNode<S_IFIFO>, Effect::MakesOther},
    CallKind{"mknod_socket", 3, chooseFresh, makeNode<S_IFSOCK>, Effect::MakesOther},
    CallKind{"mknod_device", 4, chooseFresh, makeNode<S_IFCHR, 1, 3>, Effect::MakesOther},
    CallKind{"mknod_block", 2, chooseFresh, makeNode<S_IFBLK, 259, 4096>, Effect::MakesOther},
    CallKind{"mknod_whiteout", 2, chooseFresh, makeNode<S_IFCHR, 0, 0>, Effect::MakesOther},
    CallKind{"mknod_folder", 1, chooseFresh, makeNode<S_IFDIR>},
    CallKind{"bind_socket", 3,
             [](Choice& choice, Call& call) {
                 do {
                     chooseFresh(choice, call);
                 } while (call.first.size() > 100); // longer than a socket address
             },
             bindSocket, Effect::MakesOther},
    CallKind{"link", 10, chooseLink,
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::link(call.first.c_str(), call.second.c_str()));
             },
             Effect::Links},
    CallKind{"linkat", 5,
             [](Choice& choice, Call& call) {
                 chooseLink(choice, call);
                 call.numbers = {currentFolder, choice.folderSlot(),
                                 choice.of({0, AT_SYMLINK_FOLLOW, AT_EMPTY_PATH, 0x800000})};
                 call.second = choice.name();
             },
             linkAt},
    CallKind{"link_descriptor", 5,
             [](Choice& choice, Call& call) {
                 call.numbers = {choice.fileSlot(), currentFolder, AT_EMPTY_PATH};
                 call.second = choice.fresh();
             },
             linkAt},
    CallKind{"symlink", 8, chooseSymbolicLink,
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::symlink(call.second.c_str(), call.first.c_str()));
             },
             Effect::MakesLink},
    CallKind{"symlinkat", 3,
             [](Choice& choice, Call& call) {
                 chooseSymbolicLink(choice, call);
                 call.first = choice.name();
                 call.numbers[0] = choice.folderSlot();
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::symlinkat(call.second.c_str(), process.descriptor(call.numbers[0]),
                                            call.first.c_str()));
             }},
    CallKind{"readlink", 4,
             [](Choice& choice, Call& call) {
                 call.first = choice.link();
                 call.numbers = {choice.of({5000, 5000, 3, 1, 0}), -1};
             },
             readLink},
    CallKind{"readlinkat", 2,
             [](Choice& choice, Call& call) {
                 call.first = choice.oneIn(3) ? "" : choice.name();
                 call.numbers = {5000, choice.folderSlot()};
             },
             readLink},
    CallKind{"unlink", 10, [](Choice& choice, Call& call) { call.first = choice.path(); },
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::unlink(call.first.c_str()));
             },
             Effect::Removes},
    CallKind{"rmdir", 8, [](Choice& choice, Call& call) { call.first = choice.folder(); },
             [](CallProcess&, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::rmdir(call.first.c_str()));
             },
             Effect::Removes},
    CallKind{"unlinkat", 4,
             [](Choice& choice, Call& call) {
                 call.first = choice.name();
                 call.numbers = {choice.folderSlot(), choice.of({0, 0, AT_REMOVEDIR, 1})};
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::unlinkat(process.descriptor(call.numbers[0]), call.first.c_str(),
                                           static_cast<int>(call.numbers[1])));
             }},
    CallKind{"rename", 14, chooseRenaming, renameWithFlags<0>, Effect::Moves},
    CallKind{"renameat", 4,
             [](Choice& choice, Call& call) {
                 call.first = choice.name();
                 call.second = choice.name();
                 call.numbers = {choice.folderSlot(), choice.folderSlot()};
             },
             [](CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
                 outcome.result(::renameat(process.descriptor(call.numbers[0]), call.first.c_str(),
                                           process.descriptor(call.numbers[1]), call.second.c_str()));
             }},
    CallKind{"rename_noreplace", 5, chooseRenaming, renameWithFlags<RENAME_NOREPLACE>, Effect::Moves},
    CallKind{"rename_exchange", 6,
             [](Choice& choice, Call& call) {
                 call.first = choice.path();
                 call.second = choice.path();
             },
             renameWithFlags<RENAME_EXCHANGE>, Effect::Exchanges},
    CallKind{"rename_whiteout", 4, chooseRenaming, renameWithFlags<RENAME_WHITEOUT>, Effect::Moves},
    CallKind{"rename_invalid", 1, chooseRenaming, renameWithFlags<RENAME_NOREPLACE | RENAME_EXCHANGE>},
};

} // namespace

std::span<const CallKind> entryCalls() {
    return entryKinds;
}

} // namespace syscalls
