#include "host/mount/FuseExtensions.h"

#include "host/mount/FuseRequest.h"

#include <array>
#include <cstddef>
#include <linux/fuse.h>
#include <new>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/uio.h>
#include <unistd.h>

namespace storage::host {

namespace {

constexpr std::uint32_t statxOpcode = 52;

// Layouts of the FUSE_STATX reply, which the system header lacks.

struct StatxTime {
    std::int64_t seconds;
    std::uint32_t nanoseconds;
    std::int32_t reserved;
};

struct StatxReply {
    fuse_out_header header;
    std::uint64_t validSeconds;
    std::uint32_t validNanoseconds;
    std::uint32_t flags;
    std::array<std::uint64_t, 2> reserved;

    std::uint32_t mask;
    std::uint32_t blockSize;
    std::uint64_t attributes;
    std::uint32_t links;
    std::uint32_t user;
    std::uint32_t group;
    std::uint16_t mode;
    std::uint16_t reservedMode;
    std::uint64_t inode;
    std::uint64_t size;
    std::uint64_t blocks;
    std::uint64_t attributesMask;
    StatxTime accessed;
    StatxTime born;
    StatxTime changed;
    StatxTime modified;
    std::uint32_t specialMajor;
    std::uint32_t specialMinor;
    std::uint32_t deviceMajor;
    std::uint32_t deviceMinor;
    std::array<std::uint64_t, 14> reservedEnd;
};
static_assert(sizeof(StatxReply) == 16 + 32 + 256);

/// Set while this thread processes FUSE_INIT of a kernel that lets this program clear the set-ID bits. The
/// reply must confirm that.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): libfuse has no context here
thread_local bool takesOverSetIds = false;

ssize_t receiveRequest(int device, void* buffer, std::size_t size, void*) {
    return ::read(device, buffer, size);
}

/// Relies on libfuse to send a reply in two parts, header and body.
ssize_t sendReply(int device, iovec* parts, int count, void*) {
    if (takesOverSetIds) {
        takesOverSetIds = false;
        if (count == 2 && parts[1].iov_len >= offsetof(fuse_init_out, max_background)) {
            static_cast<fuse_init_out*>(parts[1].iov_base)->flags |= FUSE_HANDLE_KILLPRIV_V2;
        }
    }
    return ::writev(device, parts, count);
}

template <typename Body>
Body& bodyOf(const fuse_buf& request) {
    return *reinterpret_cast<Body*>(static_cast<fuse_in_header*>(request.mem) + 1);
}

StatxTime statxTime(const timespec& time) {
    return {time.tv_sec, static_cast<std::uint32_t>(time.tv_nsec), 0};
}

StatxReply statxReply(const CompleteStatus& complete) {
    const struct stat& status = complete.status;
    StatxReply reply{};
    reply.validSeconds = static_cast<std::uint64_t>(forever);
    reply.mask = STATX_BASIC_STATS | STATX_BTIME;
    reply.blockSize = static_cast<std::uint32_t>(status.st_blksize);
    reply.links = static_cast<std::uint32_t>(status.st_nlink);
    reply.user = status.st_uid;
    reply.group = status.st_gid;
    reply.mode = static_cast<std::uint16_t>(status.st_mode);
    reply.inode = status.st_ino;
    reply.size = static_cast<std::uint64_t>(status.st_size);
    reply.blocks = static_cast<std::uint64_t>(status.st_blocks);
    reply.accessed = statxTime(status.st_atim);
    reply.born = statxTime(complete.born);
    reply.changed = statxTime(status.st_ctim);
    reply.modified = statxTime(status.st_mtim);
    reply.specialMajor = major(status.st_rdev);
    reply.specialMinor = minor(status.st_rdev);
    return reply;
}

void answerStatx(const RequestContext& context, const fuse_in_header& header) {
    StatxReply reply{};
    try {
        keepAttributesInvalid(context, header.nodeid);
        reply = statxReply(context.storage.completeStatus(inodeOf(context.storage, header.nodeid)));
        reply.header.len = sizeof(reply);
    } catch (...) {
        reply.header.len = sizeof(reply.header);
        reply.header.error = -errnoOfCurrentException();
    }
    reply.header.unique = header.unique;
    // Fails only when the request was interrupted or the mount has ended.
    [[maybe_unused]] const ssize_t sent = ::write(fuse_session_fd(context.session), &reply, reply.header.len);
}

} // namespace

void extendSession(fuse_session* session) {
    const fuse_custom_io functions{sendReply, receiveRequest, nullptr, nullptr};
    if (fuse_session_custom_io(session, &functions, fuse_session_fd(session)) != 0) {
        throw std::bad_alloc();
    }
}

bool processExtension(const RequestContext& context, const fuse_buf& request) {
    auto& header = *static_cast<fuse_in_header*>(request.mem);
    switch (header.opcode) {
    case FUSE_INIT:
        takesOverSetIds = (bodyOf<fuse_init_in>(request).flags & FUSE_HANDLE_KILLPRIV_V2) != 0;
        return false;
    case FUSE_WRITE: { // files have no handles here, so the field can carry the flags that libfuse drops
        auto& write = bodyOf<fuse_write_in>(request);
        write.fh = write.write_flags;
        return false;
    }
    case FUSE_TMPFILE: // has the format of FUSE_CREATE, with "/" as the name
        header.opcode = FUSE_CREATE;
        return false;
    case statxOpcode:
        answerStatx(context, header);
        return true;
    default:
        return false;
    }
}

bool clearsSetIds(std::uint64_t handle) noexcept {
    return (handle & FUSE_WRITE_KILL_SUIDGID) != 0;
}

} // namespace storage::host
