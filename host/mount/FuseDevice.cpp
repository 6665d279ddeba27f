#include "host/mount/FuseDevice.h"

#include "host/mount/FuseExtensions.h"
#include "host/support/SystemCall.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>

namespace storage::host {

namespace {

constexpr std::uint32_t longTransfer = 64U << 10U; ///< bytes
constexpr int idleTime = 100;                      ///< milliseconds without a request

template <typename Body>
const Body& bodyOf(const fuse_in_header* header) {
    return *reinterpret_cast<const Body*>(header + 1);
}

/// Whether a request can make the storage grow.
bool isGrowing(const fuse_buf& request) {
    const auto* const header = static_cast<const fuse_in_header*>(request.mem);
    switch (header->opcode) {
    case FUSE_MKNOD:
    case FUSE_MKDIR:
    case FUSE_SYMLINK:
    case FUSE_LINK:
    case FUSE_CREATE:
    case FUSE_WRITE:
    case FUSE_FALLOCATE:
    case FUSE_SETXATTR:
        return true;
    case FUSE_RENAME2:
        return (bodyOf<fuse_rename2_in>(header).flags & RENAME_WHITEOUT) != 0;
    default:
        return false;
    }
}

} // namespace

FuseDevice::FuseDevice(const FuseSession& session, StorageSpace& space)
    : session_(session.device()), context_(session.context()), space_(space) {
    const int descriptor = fuse_session_fd(session_);
    checked(::fcntl(descriptor, F_SETFL, checked(::fcntl(descriptor, F_GETFL), "fcntl") | O_NONBLOCK),
            "fcntl");
}

bool FuseDevice::hasEnded() const noexcept {
    return fuse_session_exited(session_) != 0;
}

void FuseDevice::end() noexcept {
    fuse_session_exit(session_);
    ended_.set();
}

RequestDevice::Received FuseDevice::receive(fuse_buf& request) {
    return fuse_session_receive_buf(session_, &request) > 0 ? Received::Request : Received::Nothing;
}

bool FuseDevice::hasRequest() const {
    pollfd device{fuse_session_fd(session_), POLLIN, 0};
    return ::poll(&device, 1, 0) != 0;
}

void FuseDevice::waitForRequest() {
    std::array<pollfd, 2> waiting{{{fuse_session_fd(session_), POLLIN, 0}, {ended_.descriptor(), POLLIN, 0}}};
    if (space_.isHeapChanged() && ::poll(waiting.data(), waiting.size(), idleTime) == 0) {
        space_.giveBack();
    }
    ::poll(waiting.data(), waiting.size(), -1);
}

bool FuseDevice::isLong(const fuse_buf& request) const {
    const auto* const header = static_cast<const fuse_in_header*>(request.mem);
    switch (header->opcode) {
    case FUSE_READ:
        return bodyOf<fuse_read_in>(header).size >= longTransfer;
    case FUSE_WRITE:
        return bodyOf<fuse_write_in>(header).size >= longTransfer;
    case FUSE_SETATTR:
        return (bodyOf<fuse_setattr_in>(header).valid & FATTR_SIZE) != 0;
    case FUSE_FALLOCATE:
    case FUSE_READDIR:
    case FUSE_READDIRPLUS:
        return true;
    default:
        return false;
    }
}

/// While the reserve is released, no request that makes the storage grow is processed. It would consume the
/// reserve permanently.
void FuseDevice::process(const fuse_buf& request) {
    if (processExtension(context_, request)) {
        return;
    }
    if (isGrowing(request)) {
        const SharedScopedLock lock(reserveMutex_);
        fuse_session_process_buf(session_, &request);
    } else if (space_.reserve().isNeeded()) {
        const ScopedLock lock(reserveMutex_);
        space_.reserve().giveUp();
        fuse_session_process_buf(session_, &request);
        space_.reserve().restore();
    } else {
        fuse_session_process_buf(session_, &request);
    }
}

} // namespace storage::host
