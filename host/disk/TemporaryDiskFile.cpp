#include "host/disk/TemporaryDiskFile.h"

#include "host/disk/DiskEntry.h"
#include "host/support/CommandError.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace storage::host {

namespace {

/// Nobody else reads what is not complete; the owner of the final name may be another one.
constexpr unsigned privateMode = 0600;

std::string freePathBeside(const std::string& target) {
    const std::string folder = target.substr(0, target.rfind('/') + 1);
    for (unsigned number = 0;; ++number) {
        std::string path = fmt::format("{}.qzstorage-{}-{}", folder, ::getpid(), number);
        if (!DiskEntry::exists(path)) {
            return path;
        }
    }
}

FileDescriptor create(const std::string& path, const std::string& target) {
    try {
        return {path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, privateMode};
    } catch (const CommandError& error) {
        throw CommandError(target, error.what());
    }
}

} // namespace

TemporaryDiskFile::TemporaryDiskFile(const std::string& target)
    : target_(target), path_(freePathBeside(target)), file_(create(path_, target)) {}

TemporaryDiskFile::~TemporaryDiskFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
}

void TemporaryDiskFile::moveIntoPlace() {
    file_.close();
    if (std::rename(path_.c_str(), target_.c_str()) != 0) {
        throw diskError(target_, errno);
    }
    path_.clear();
}

} // namespace storage::host
