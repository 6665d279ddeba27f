#include "host/mount/UnmountRun.h"

#include "host/console/RunReported.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/FileDescriptor.h"
#include "host/mount/MountPlace.h"
#include "host/mount/UnmountProtocol.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <linux/magic.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace storage::host {

namespace {

constexpr std::chrono::milliseconds pollInterval(50);

using Stage = UnmountStatus::Stage;

/// A mount of another user may serve only that user, so root switches to that user.
void becomeOwnerOfMount(const std::string& mountPoint) {
    const auto owner = ::geteuid() == 0 ? ownerOfMountAt(mountPoint) : std::nullopt;
    if (owner && owner->user != 0 &&
        (::setresgid(owner->group, owner->group, owner->group) != 0 ||
         ::setresuid(owner->user, owner->user, owner->user) != 0)) {
        throw diskError(mountPoint, errno);
    }
}

/// Resolves only the parent, because the mount itself may be inaccessible.
std::string resolvedParent(const std::string& path) {
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(diskOperand(path));
    const std::filesystem::path parent = std::filesystem::canonical(whole.parent_path(), error);
    return error ? whole : parent / whole.filename();
}

FileDescriptor openMount(const std::string& mountPoint) {
    const int folder = ::open(mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        throw errno == ENOTCONN
            ? CommandError(mountPoint,
                           "a stale mount: its server has exited; remove it with 'fusermount3 -u'")
            : diskError(mountPoint, errno);
    }
    auto root = FileDescriptor::adopt(folder, mountPoint);
    struct statfs system {};
    if (::fstatfs(folder, &system) != 0 || system.f_type != FUSE_SUPER_MAGIC) {
        throw CommandError(mountPoint, "no storage is mounted there");
    }
    return root;
}

/// @return nothing if it is no longer mounted
std::optional<UnmountStatus> sendRequest(const FileDescriptor& root, unsigned long request) {
    UnmountStatus status;
    if (::ioctl(root.number(), request, &status) == 0) {
        status.text.back() = '\0';
        return status;
    }
    if (errno == ENOTCONN || errno == ECONNABORTED || errno == EIO) {
        return std::nullopt;
    }
    if (errno == EPERM) {
        throw CommandError(root.path(), "only root and the user who mounted it can unmount it");
    }
    throw errno == ENOTTY || errno == ENOSYS ? CommandError(root.path(), "no storage is mounted there")
                                             : diskError(root.path(), errno);
}

/// Clears the progress line in its destructor.
class ProgressLine {
public:
    explicit ProgressLine(Console& console) : console_(console) {}
    ~ProgressLine() { console_.clearProgress(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void show(const char* text) {
        if (console_.showsProgress()) {
            console_.drawProgress(std::string("exported ") + text);
        }
    }

private:
    Console& console_;
};

/// @return the last status of the attempt
UnmountStatus waitForEnd(const FileDescriptor& root, Console& console) {
    const auto started = sendRequest(root, startUnmounting);
    if (!started) {
        throw CommandError(root.path(), "unmounted meanwhile");
    }
    ProgressLine line(console);
    UnmountStatus last = *started;
    while (const auto status = sendRequest(root, queryUnmounting)) {
        last = *status;
        if (last.stage == Stage::Failed) {
            return last;
        }
        if (last.stage == Stage::Saving && last.text.front() != '\0') {
            line.show(last.text.data());
        }
        Interruption::check();
        std::this_thread::sleep_for(pollInterval);
    }
    return last;
}

ExitStatus unmount(const std::string& mountPoint, Console& console) {
    const std::string path = resolvedParent(mountPoint);
    becomeOwnerOfMount(path);
    const UnmountStatus end = waitForEnd(openMount(path), console);
    if (end.stage == Stage::Saved) {
        if (end.text.front() != '\0') {
            console.notice(path, end.text.data());
        }
        return ExitStatus::Success;
    }
    console.report({path, end.stage == Stage::Failed ? std::string("stays mounted: ") + end.text.data()
                                                     : "the mount ended before everything was exported"});
    return ExitStatus::Failure;
}

} // namespace

ExitStatus runUnmount(const std::string& mountPoint, Console& console) {
    const Interruption interruption;
    console.beginCommand("unmount");
    return runReported(console, [&] { return unmount(mountPoint, console); });
}

} // namespace storage::host
