#include "host/mount/FuseSession.h"

#include "host/mount/CapturedErrors.h"
#include "host/mount/FuseExtendedAttributes.h"
#include "host/mount/FuseExtensions.h"
#include "host/support/CommandError.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Whether a FUSE file system is mounted at a folder. A mount over it would hide it, also from `qzstorage
/// unmount`.
bool isMountOfFuse(const std::string& folder) {
    struct stat here {};
    struct stat above {};
    struct statfs system {};
    return ::stat(folder.c_str(), &here) == 0 && ::stat((folder + "/..").c_str(), &above) == 0 &&
           ::statfs(folder.c_str(), &system) == 0 && here.st_dev != above.st_dev &&
           system.f_type == FUSE_SUPER_MAGIC;
}

void refuseUnmountable(const std::string& mountPoint) {
    struct stat status {};
    // statfs(2) makes a request to the program of a mount. stat(2) may succeed from the cache although the
    // program has ended.
    struct statfs system {};
    if (::stat(mountPoint.c_str(), &status) != 0 || ::statfs(mountPoint.c_str(), &system) != 0) {
        const std::string reason =
            errno == ENOENT ? "no such folder; create it first"
            : errno == ENOTCONN
                ? "a stale mount: its server has exited; remove it with 'fusermount3 -u' first"
                : diskError(mountPoint, errno).what();
        throw CommandError(mountPoint, reason);
    }
    if (!S_ISDIR(status.st_mode)) {
        throw CommandError(mountPoint, "not a folder; a mount point must be a folder");
    }
    if (isMountOfFuse(mountPoint)) {
        throw CommandError(mountPoint,
                           "already a mount point; unmount it first (a storage with 'qzstorage unmount')");
    }
    if (mountPoint == "/") {
        throw CommandError(mountPoint, "the root folder cannot be a mount point");
    }
    if (::access("/dev/fuse", F_OK) != 0) {
        throw CommandError("/dev/fuse",
                           "missing, so nothing can be mounted; load the kernel module with 'modprobe fuse'");
    }
}

/// Whether the kernel must check permissions. If root is the only user, it need not, which saves a request
/// after every change of a folder.
bool needsPermissions(const MountOptions& options) {
    return ::geteuid() != 0 || options.users == MountOptions::Users::Everybody;
}

/// Escapes a value for libfuse, which splits its options at commas.
std::string escaped(const std::string& value) {
    std::string text;
    for (const char byte : value) {
        text += byte == ',' || byte == '\\' ? std::string("\\") + byte : std::string(1, byte);
    }
    return text;
}

fuse_lowlevel_ops operationsFor(const MountOptions& options) {
    fuse_lowlevel_ops operations = fuseOperations();
    if (options.xattrs == MountOptions::Xattrs::Kept) {
        addExtendedAttributes(operations);
    }
    return operations;
}

std::string libraryOptions(const MountOptions& options) {
    std::string text = "fsname=" + escaped(options.source) + ",subtype=qzstorage";
    for (const std::string& option : options.kernelOptions) {
        text += ',' + option;
    }
    text += needsPermissions(options) ? ",default_permissions" : "";
    text += options.writing == MountOptions::Writing::Refused ? ",ro" : "";
    text += options.users == MountOptions::Users::Everybody ? ",allow_other" : "";
    return text;
}

} // namespace

FuseSession::FuseSession(MountedStorage& storage, ChangeGate& gate, UnmountRequests& unmounting,
                         const MountOptions& options, WriteMode writing)
    : seeker_(storage), context_{writing, storage, gate, unmounting, seeker_, nullptr} {
    refuseUnmountable(options.mountPoint);
    std::array<std::string, 3> words{"qzstorage", "-o", libraryOptions(options)};
    std::array<char*, 3> pointers{words[0].data(), words[1].data(), words[2].data()};
    fuse_args arguments{static_cast<int>(pointers.size()), pointers.data(), 0};
    const fuse_lowlevel_ops operations = operationsFor(options);
    const CapturedErrors errors; // libfuse and fusermount3 print their errors
    session_.reset(fuse_session_new(&arguments, &operations, sizeof(operations), &context_));
    fuse_opt_free_args(&arguments);
    context_.session = session_.get();
    if (!session_ || fuse_session_mount(session_.get(), options.mountPoint.c_str()) != 0) {
        const std::string reason = errors.firstLine();
        throw CommandError(options.mountPoint, reason.empty() ? "cannot mount" : "cannot mount: " + reason);
    }
    extendSession(session_.get());
    place_ = MountPlace(options.mountPoint, fuse_session_fd(session_.get()));
}

FuseSession::~FuseSession() {
    place_.unmount();
    cutConnection();
    fuse_session_unmount(session_.get());
}

/// Closes the connection, so that programs that still use the mount get errors. Replaces the descriptor by
/// the write end of a broken pipe: libfuse takes that for an unmounted file system and unmounts nothing.
/// Otherwise it would unmount whatever is mounted at the path by now.
void FuseSession::cutConnection() const noexcept {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
        ::close(ends[0]);
        ::dup2(ends[1], fuse_session_fd(session_.get()));
        ::close(ends[1]);
    }
}

} // namespace storage::host
