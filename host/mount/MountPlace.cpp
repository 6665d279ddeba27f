#include "host/mount/MountPlace.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace storage::host {

namespace {

constexpr int shareOfDirtyPages =
    5; ///< percent of the dirty pages of all devices together; FUSE mounts start with 1

/// The device of what stands at a path; 0 when nothing can be said. Asks nobody: the mount itself might not answer.
dev_t deviceAt(const std::string& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, STATX_TYPE, &status) != 0) {
        return 0;
    }
    return makedev(status.stx_dev_major, status.stx_dev_minor);
}

/// A field of the kernel's list of mounts, in which blanks and backslashes are octal numbers behind a backslash.
std::string unescaped(const std::string& field) {
    constexpr std::size_t digits = 3;
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + digits < field.size()) {
            text += static_cast<char>(std::stoi(field.substr(i + 1, digits), nullptr, 8));
            i += digits;
        } else {
            text += field[i];
        }
    }
    return text;
}

/// Runs a program to its end, whatever comes of it.
void run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0) {
        while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

} // namespace

MountPlace::MountPlace(const std::string& path) : device_(deviceAt(path)) {}

void MountPlace::raiseWriteBackLimit() const {
    std::ofstream(fmt::format("/sys/class/bdi/{}:{}/max_ratio", major(device_), minor(device_)))
        << shareOfDirtyPages;
}

bool MountPlace::writeBack() const {
    const auto path = find();
    const int folder = path ? ::open(path->c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    if (folder < 0) {
        return false;
    }
    ::syncfs(folder);
    ::close(folder);
    return true;
}

void MountPlace::takeAway() const {
    const auto path = find();
    if (!path) {
        return;
    }
    if (::geteuid() == 0) {
        ::umount2(path->c_str(), MNT_DETACH | UMOUNT_NOFOLLOW);
    } else {
        run({"fusermount3", "-u", "-q", "-z", "--", *path});
    }
}

/// The path at which programs find the mount now; nothing when it is gone, or something else is mounted over it.
std::optional<std::string> MountPlace::find() const {
    const std::string device = fmt::format("{}:{}", major(device_), minor(device_));
    std::ifstream mounts("/proc/self/mountinfo");
    std::string line;
    while (std::getline(mounts, line)) {
        std::istringstream fields(line);
        std::string number;
        std::string parent;
        std::string lineDevice;
        std::string root;
        std::string path;
        fields >> number >> parent >> lineDevice >> root >> path;
        if (lineDevice == device && deviceAt(unescaped(path)) == device_) {
            return unescaped(path);
        }
    }
    return std::nullopt;
}

} // namespace storage::host
