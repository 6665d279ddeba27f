#include "host/mount/MountPlace.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <poll.h>
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

/// Percentage of the dirty pages of all devices. FUSE mounts have 1 by default.
constexpr int shareOfDirtyPages = 5;

/// The device at a path; 0 if it cannot be determined. Does not send a request to a file system, because the
/// mount itself might not answer.
dev_t deviceAt(const std::string& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, STATX_TYPE, &status) != 0) {
        return 0;
    }
    return makedev(status.stx_dev_major, status.stx_dev_minor);
}

/// Decodes a field of /proc/self/mountinfo, in which blanks and backslashes are octal escapes.
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

/// Runs a program and waits for its end. Ignores failures.
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

/// A path to the file of a descriptor, also after it was renamed or replaced.
std::string pathOf(const FileDescriptor& file) {
    return fmt::format("/proc/self/fd/{}", file.number());
}

/// The path of the mount of a device; nothing if there is none or another mount covers it.
std::optional<std::string> pathOfMount(dev_t device) {
    const std::string wanted = fmt::format("{}:{}", major(device), minor(device));
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string number;
        std::string parent;
        std::string lineDevice;
        std::string root;
        std::string path;
        fields >> number >> parent >> lineDevice >> root >> path;
        if (lineDevice == wanted && deviceAt(unescaped(path)) == device) {
            return unescaped(path);
        }
    }
    return std::nullopt;
}

/// Whether the connection to the kernel is open. It is closed after the unmount.
bool isOpen(int connection) {
    pollfd state{connection, POLLIN, 0};
    return ::poll(&state, 1, 0) >= 0 && (state.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

/// The number after a name in a list of options.
std::optional<unsigned> numberIn(const std::string& options, const std::string& name) {
    const std::size_t place = ("," + options).find("," + name + "=");
    if (place == std::string::npos) {
        return std::nullopt;
    }
    return static_cast<unsigned>(std::stoul(options.substr(place + name.size() + 1)));
}

} // namespace

MountPlace::MountPlace(const std::string& path, int connection)
    : device_(deviceAt(path)), connection_(connection) {}

void MountPlace::raiseWriteBackLimit() const {
    setWriteBack("max_ratio", shareOfDirtyPages);
}

void MountPlace::limitDirtyPages(std::uint64_t bytes) const {
    setWriteBack("max_bytes", bytes);
}

void MountPlace::setWriteBack(const char* setting, std::uint64_t value) const {
    std::ofstream(fmt::format("/sys/class/bdi/{}:{}/{}", major(device_), minor(device_), setting)) << value;
}

bool MountPlace::writeBack() const {
    const auto root = open();
    if (!root) {
        return false;
    }
    const int folder = ::open(pathOf(*root).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return false;
    }
    ::syncfs(folder);
    ::close(folder);
    return true;
}

void MountPlace::unmount() const {
    const auto root = open();
    if (!root) {
        return;
    }
    if (::geteuid() == 0) {
        ::umount2(pathOf(*root).c_str(), MNT_DETACH);
    } else {
        run({"fusermount3", "-u", "-q", "-z", "--", root->path()});
    }
}

/// Opens the root of the mount at its current path. While the result exists, the device number is not reused.
/// The connection is checked after that, so the root is certainly that of this mount.
std::optional<FileDescriptor> MountPlace::open() const {
    const auto path = pathOfMount(device_);
    const int number = path ? ::open(path->c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC) : -1;
    if (number < 0) {
        return std::nullopt;
    }
    auto root = FileDescriptor::adopt(number, *path);
    if (deviceAt(pathOf(root)) != device_ || !isOpen(connection_)) {
        return std::nullopt;
    }
    return root;
}

std::optional<MountOwner> ownerOfMountAt(const std::string& path) {
    std::optional<MountOwner> owner;
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string skipped;
        std::string mountPoint;
        fields >> skipped >> skipped >> skipped >> skipped >> mountPoint;
        if (unescaped(mountPoint) != path) {
            continue;
        }
        const std::string options = line.substr(line.rfind(' ') + 1);
        const auto user = numberIn(options, "user_id");
        const auto group = numberIn(options, "group_id");
        // The last line is the topmost mount.
        owner = user && group ? std::optional(MountOwner{*user, *group}) : std::nullopt;
    }
    return owner;
}

} // namespace storage::host
