#include "host/mount/RescueFolder.h"

#include "host/disk/FileDescriptor.h"
#include "host/disk/TemporaryDiskFile.h"
#include "host/disk/WritableFolder.h"
#include "host/support/CommandError.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

constexpr const char* noteName = "/note.txt";
constexpr mode_t rescueFolderMode = 0700;

/// For example "fast-20261122-130501-4711" for a mount point that ends in "fast".
std::string nameFor(const std::string& mountPoint) {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    std::array<char, 32> time{};
    (void)std::strftime(time.data(), time.size(), "%Y%m%d-%H%M%S", &utc);
    return fmt::format("{}-{}-{}", mountPoint.substr(mountPoint.rfind('/') + 1), time.data(), ::getpid());
}

void makeRescueFolder(const std::string& path) {
    if (::mkdir(path.c_str(), rescueFolderMode) != 0 && errno != EEXIST) {
        throw diskError(path, errno);
    }
}

} // namespace

RescueFolder::RescueFolder(std::string base, const std::string& mountPoint)
    : base_(std::move(base)), path_(base_ + '/' + nameFor(mountPoint)) {}

void RescueFolder::requireUsable() const {
    std::filesystem::path existing = base_;
    std::error_code error; // an unreadable folder is treated as missing, and one above it is reported
    while (!std::filesystem::exists(existing, error)) {
        existing = existing.parent_path();
    }
    if (!std::filesystem::is_directory(existing)) {
        throw CommandError(existing, "not a folder; choose another one with --rescue");
    }
    if (::access(existing.c_str(), W_OK | X_OK) != 0) {
        throw diskError(existing, errno);
    }
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
    std::filesystem::create_directories(base_, error); // creating the folder in it reports errors
    makeRescueFolder(path_);
    WritableFolder base(FileDescriptor(base_, O_RDONLY | O_DIRECTORY), WritableFolder::ReadOnly::Respect);
    TemporaryDiskFile note(base, std::filesystem::path(path_).filename().string() + noteName);
    for (const std::string& line : lines) {
        note.file().write(line + '\n');
    }
    note.moveIntoPlace();
}

void RescueFolder::removeNote() noexcept {
    ::unlink((path_ + noteName).c_str());
    ::rmdir(path_.c_str()); // fails if there is content
}

} // namespace storage::host
