#include "host/shell/HistoryFile.h"

#include "host/disk/DiskPath.h"
#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::host {

namespace {

constexpr mode_t privateFile = 0600;
constexpr mode_t privateFolder = 0700;
constexpr std::size_t longestFile = std::size_t{4} << 20; ///< only the end of a larger file is read

/// Opens the file and locks it until it is closed, so that no session writes while another one truncates it.
FileDescriptor openLocked(const std::string& path, int flags) {
    FileDescriptor file(path, flags | O_NONBLOCK, privateFile);
    if (::flock(file.number(), LOCK_EX) != 0) {
        throw diskError(path, errno);
    }
    return file;
}

void makeFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(diskParent(path), error); // opening the file reports errors
    ::mkdir(path.c_str(), privateFolder);
}

std::string readEnd(const FileDescriptor& file) {
    const off_t size = ::lseek(file.number(), 0, SEEK_END);
    const off_t begin = std::max<off_t>(0, size - static_cast<off_t>(longestFile));
    if (size < 0 || ::lseek(file.number(), begin, SEEK_SET) < 0) {
        throw diskError(file.path(), errno);
    }
    std::string text(static_cast<std::size_t>(size - begin), '\0');
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::read(file.number(), text.data() + done, text.size() - done);
        if (count <= 0) {
            throw diskError(file.path(), count < 0 ? errno : EIO);
        }
        done += static_cast<std::size_t>(count);
    }
    return text;
}

} // namespace

std::vector<std::string> HistoryFile::load() const {
    if (::access(path_.c_str(), F_OK) != 0) {
        return {};
    }
    const FileDescriptor file = openLocked(path_, O_RDWR);
    const std::string text = readEnd(file);
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(std::move(line));
    }
    if (lines.size() <= kept) {
        return lines;
    }
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(kept));
    std::string shortened;
    for (const std::string& line : lines) {
        shortened += line + '\n';
    }
    // Written before the file is truncated, so that a crash in between loses no line.
    if (::lseek(file.number(), 0, SEEK_SET) < 0) {
        throw diskError(path_, errno);
    }
    file.write(shortened);
    if (::ftruncate(file.number(), static_cast<off_t>(shortened.size())) != 0) {
        throw diskError(path_, errno);
    }
    return lines;
}

void HistoryFile::add(const std::string& line) const {
    makeFolder(diskParent(path_));
    openLocked(path_, O_WRONLY | O_APPEND | O_CREAT).write(line + '\n');
}

} // namespace storage::host
