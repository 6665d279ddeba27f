#include "host/disk/FileDescriptor.h"

#include "host/disk/DiskPath.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

FileDescriptor::FileDescriptor(const std::string& path, int flags, unsigned mode) : path_(path) {
    open(AT_FDCWD, path, flags, mode);
}

FileDescriptor::FileDescriptor(const FileDescriptor& folder, const std::string& name, int flags)
    : path_(diskChild(folder.path(), name)) {
    open(folder.number(), name, flags | O_NOFOLLOW, 0);
}

void FileDescriptor::open(int folder, const std::string& name, int flags, unsigned mode) {
    while ((number_ = ::openat(folder, name.c_str(), flags | O_CLOEXEC, mode)) < 0) {
        if (errno != EINTR) {
            throw diskError(path_, errno);
        }
        Interruption::check();
    }
}

FileDescriptor FileDescriptor::duplicate() const {
    const int number = ::fcntl(number_, F_DUPFD_CLOEXEC, 0);
    if (number < 0) {
        throw diskError(path_, errno);
    }
    return adopt(number, path_);
}

FileDescriptor FileDescriptor::adopt(int number, std::string name) {
    FileDescriptor adopted;
    adopted.path_ = std::move(name);
    adopted.number_ = number;
    return adopted;
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : path_(std::move(other.path_)), number_(std::exchange(other.number_, -1)) {}

FileDescriptor::~FileDescriptor() {
    if (number_ >= 0) {
        ::close(number_);
    }
}

std::size_t FileDescriptor::read(std::span<char> buffer) const {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t got = ::read(number_, buffer.data() + filled, buffer.size() - filled);
        if (got == 0) {
            break;
        }
        if (got < 0 && errno != EINTR) {
            throw diskError(path_, errno);
        }
        if (got < 0) {
            Interruption::check();
        } else {
            filled += static_cast<std::size_t>(got);
        }
    }
    return filled;
}

void FileDescriptor::write(std::span<const char> bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = ::write(number_, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno != EINTR) {
                throw diskError(path_, errno);
            }
            Interruption::check();
        }
        bytes = bytes.subspan(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

void FileDescriptor::close() {
    if (::close(std::exchange(number_, -1)) != 0) {
        throw diskError(path_, errno);
    }
}

} // namespace storage::host
