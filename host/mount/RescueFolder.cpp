#include "host/mount/RescueFolder.h"

#include "host/disk/FileDescriptor.h"
#include "host/disk/TemporaryDiskFile.h"
#include "host/disk/WritableFolder.h"
#include "host/support/CommandError.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

constexpr const char* noteName = "/note.txt";
constexpr mode_t privateFolder = 0700;

/// "fast-20261122-130501-4711" for a mount point that ends in "fast".
std::string nameFor(const std::string& mountPoint) {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    std::array<char, 32> time{};
    (void)std::strftime(time.data(), time.size(), "%Y%m%d-%H%M%S", &utc);
    return fmt::format("{}-{}-{}", mountPoint.substr(mountPoint.rfind('/') + 1), time.data(), ::getpid());
}

void makeFolder(const std::string& path) {
    if (::mkdir(path.c_str(), privateFolder) != 0 && errno != EEXIST) {
        throw diskError(path, errno);
    }
}

/// The path that a variable of the environment holds; one that is not absolute does not count.
std::optional<std::string> pathIn(const char* variable) {
    return variable != nullptr && *variable == '/' ? std::optional<std::string>(variable) : std::nullopt;
}

} // namespace

RescueFolder::RescueFolder(std::string base, const std::string& mountPoint)
    : base_(std::move(base)), path_(base_ + '/' + nameFor(mountPoint)) {}

std::string RescueFolder::defaultBase() {
    // NOLINTBEGIN(concurrency-mt-unsafe): before any thread
    if (const auto state = pathIn(std::getenv("XDG_STATE_HOME"))) {
        return *state + "/qzstorage";
    }
    const auto home = pathIn(std::getenv("HOME"));
    const passwd* const user = home ? nullptr : ::getpwuid(::geteuid());
    // NOLINTEND(concurrency-mt-unsafe)
    return home.value_or(user != nullptr ? user->pw_dir : "/var/tmp") + "/.local/state/qzstorage";
}

bool RescueFolder::baseHasNotes() const {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(base_, error)) {
        if (std::filesystem::exists(entry.path().string() + noteName, error)) {
            return true;
        }
    }
    return false;
}

void RescueFolder::write(const std::vector<std::string>& lines) {
    std::error_code error;
    std::filesystem::create_directories(base_, error); // what is wrong, making the folder in it reports
    makeFolder(path_);
    WritableFolder base(FileDescriptor(base_, O_RDONLY | O_DIRECTORY), WritableFolder::ReadOnly::Respect);
    TemporaryDiskFile note(base, std::filesystem::path(path_).filename().string() + noteName);
    for (const std::string& line : lines) {
        note.file().write(line + '\n');
    }
    note.moveIntoPlace();
}

void RescueFolder::removeNote() noexcept {
    ::unlink((path_ + noteName).c_str());
    ::rmdir(path_.c_str()); // unless there is content
}

} // namespace storage::host
