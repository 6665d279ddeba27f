#include "host/disk/TargetClaim.h"

#include "host/support/CommandError.h"
#include "host/support/NameHash.h"
#include "host/support/SystemCall.h"

#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Resolves symbolic links, so that one folder has one address.
std::filesystem::path resolved(const std::string& target) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(target, error);
    return error ? std::filesystem::path(target) : path;
}

struct Address {
    sockaddr_un name{};
    socklen_t length = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&name); }
};

/// An abstract socket address, which begins with NUL.
Address addressOf(const std::string& target) {
    const std::filesystem::path path = resolved(target);
    const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
    struct stat above {};
    if (::stat(folder.c_str(), &above) != 0) {
        throw diskError(folder, errno);
    }
    const std::string text = fmt::format("qzstorage-export-{:x}-{:x}-{:x}", above.st_dev, above.st_ino,
                                         nameHash(path.filename().string()));
    Address address;
    address.name.sun_family = AF_UNIX;
    text.copy(&address.name.sun_path[1], sizeof(address.name.sun_path) - 1);
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
    return address;
}

int makeSocket() {
    return checked(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket");
}

CommandError claimed(const std::string& target) {
    return {target, "another mount exports there when it ends; unmount it first, or choose another folder"};
}

} // namespace

TargetClaim::TargetClaim(const std::string& target) : socket_(makeSocket()) {
    try {
        const Address address = addressOf(target);
        if (::bind(socket_, address.get(), address.length) != 0) {
            throw errno == EADDRINUSE ? claimed(target) : diskError(target, errno);
        }
        checked(::listen(socket_, 1), "listen"); // for the connect(2) in refuseClaimed
    } catch (...) {
        ::close(socket_);
        throw;
    }
}

TargetClaim::~TargetClaim() {
    ::close(socket_);
}

void TargetClaim::refuseClaimed(const std::string& target) {
    Address address;
    try {
        address = addressOf(target);
    } catch (const CommandError&) {
        return; // an invalid path is reported when the export writes there
    }
    const int socket = makeSocket();
    const bool isClaimed = ::connect(socket, address.get(), address.length) == 0 || errno == EAGAIN;
    ::close(socket);
    if (isClaimed) {
        throw claimed(target);
    }
}

} // namespace storage::host
