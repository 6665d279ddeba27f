#include "host/disk/TemporaryDiskFile.h"

#include "host/disk/DiskFolder.h"
#include "host/disk/TemporaryDiskName.h"
#include "host/support/CommandError.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

/// Private until the file is complete. Its final owner may be another user.
constexpr unsigned privateMode = 0600;

bool isSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Opens a possible temporary file of another program. The caller opens regular files only, because opening
/// other types can have side effects.
std::optional<FileDescriptor> openTemporary(const FileDescriptor& folder, const std::string& name) {
    const int number =
        ::openat(folder.number(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    return number < 0 ? std::nullopt : std::optional(FileDescriptor::adopt(number, name));
}

/// @return whether the entry was left behind by a killed program and has been removed
bool removeIfAbandoned(WritableFolder& folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder.descriptor().number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        S_ISDIR(status.st_mode) || (status.st_uid != ::geteuid() && ::geteuid() != 0)) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) { // not locked: a running program creates it again
        return folder.change([&](int in) { return ::unlinkat(in, name.c_str(), 0); }) == 0;
    }
    const auto file = openTemporary(folder.descriptor(), name);
    if (!file || ::flock(file->number(), LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    // The name may belong to a new file by now. Only the holder of a file's lock removes that file.
    struct stat opened {};
    struct stat named {};
    if (::fstat(file->number(), &opened) != 0 ||
        ::fstatat(folder.descriptor().number(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        !isSameFile(opened, named)) {
        return false;
    }
    return folder.change([&](int in) { return ::unlinkat(in, name.c_str(), 0); }) == 0;
}

/// @return whether the file still has a name: another program may have removed it before it was locked
bool lockNew(const FileDescriptor& file) {
    if (::flock(file.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return false;
    }
    struct stat status {};
    return ::fstat(file.number(), &status) != 0 || status.st_nlink > 0;
}

} // namespace

TemporaryDiskFile::NamedFile TemporaryDiskFile::create(WritableFolder& folder, const std::string& target) {
    for (unsigned number = 0;;) {
        std::string name = temporaryDiskName(target, number);
        const int created = folder.change([&](int in) {
            return ::openat(in, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                            privateMode);
        });
        const std::string path = diskChild(folder.descriptor().path(), target);
        if (created >= 0) {
            NamedFile result{std::move(name), FileDescriptor::adopt(created, path)};
            if (lockNew(result.file)) {
                return result;
            }
        } else if (errno != EEXIST) {
            throw diskError(path, errno);
        } else if (!removeIfAbandoned(folder, name)) {
            ++number;
        }
    }
}

TemporaryDiskFile::TemporaryDiskFile(WritableFolder& folder, const std::string& name)
    : folder_(folder), target_(name), named_(create(folder, name)) {}

TemporaryDiskFile::~TemporaryDiskFile() {
    if (named_.name.empty()) {
        return;
    }
    try {
        folder_.change([this](int in) { return ::unlinkat(in, named_.name.c_str(), 0); });
    } catch (...) { // interrupted again: the next export removes the file
    }
}

void TemporaryDiskFile::moveIntoPlace() {
    // Closes a duplicate to get its errors. This descriptor keeps the lock until the rename.
    named_.file.duplicate().close();
    const int moved =
        folder_.change([this](int in) { return ::renameat(in, named_.name.c_str(), in, target_.c_str()); });
    if (moved != 0) {
        throw diskError(named_.file.path(), errno);
    }
    named_.name.clear();
}

void TemporaryDiskFile::removeAbandonedFiles(WritableFolder& folder) {
    std::vector<std::string> names;
    try {
        names = listDiskFolder(folder.descriptor());
    } catch (const CommandError&) { // the folder may be writable, but not readable
    }
    for (const std::string& name : names) {
        if (isTemporaryDiskName(name)) {
            removeIfAbandoned(folder, name);
        }
    }
}

} // namespace storage::host
