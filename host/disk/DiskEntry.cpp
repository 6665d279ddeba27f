#include "host/disk/DiskEntry.h"

#include "host/disk/DiskPath.h"
#include "host/support/CommandError.h"
#include "host/support/FileTime.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::host {

namespace {

DiskEntry::Kind kindOf(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return DiskEntry::Kind::File;
    case S_IFDIR:
        return DiskEntry::Kind::Folder;
    case S_IFLNK:
        return DiskEntry::Kind::SymbolicLink;
    case S_IFSOCK:
        return DiskEntry::Kind::Socket;
    case S_IFIFO:
        return DiskEntry::Kind::Fifo;
    default:
        return DiskEntry::Kind::Device;
    }
}

/// A storage has no owners, so what is copied belongs to this program's user, with whose rights nobody else may run it.
mode_t permissionsOf(const struct stat& status) {
    mode_t taken = 0;
    if (status.st_uid != ::geteuid()) {
        taken |= S_ISUID;
    }
    if (status.st_gid != ::getegid()) {
        taken |= S_ISGID;
    }
    return status.st_mode & permissionBits & ~taken;
}

DiskEntry fromStatus(const struct stat& status) {
    return {kindOf(status.st_mode),
            static_cast<unsigned long long>(status.st_size),
            fromDiskTime(status.st_mtim),
            !isStorageTime(status.st_mtim),
            (status.st_mode & S_IWUSR) != 0,
            permissionsOf(status),
            status.st_dev};
}

} // namespace

DiskEntry DiskEntry::at(const std::string& path, Links links) {
    struct stat status {};
    const int flags = links == Links::Follow ? 0 : AT_SYMLINK_NOFOLLOW;
    if (::fstatat(AT_FDCWD, path.c_str(), &status, flags) != 0) {
        throw diskError(path, errno);
    }
    return fromStatus(status);
}

DiskEntry DiskEntry::in(const FileDescriptor& folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        throw diskError(diskChild(folder.path(), name), errno);
    }
    return fromStatus(status);
}

DiskEntry DiskEntry::of(const FileDescriptor& file) {
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) {
        throw diskError(file.path(), errno);
    }
    return fromStatus(status);
}

const char* describe(DiskEntry::Kind kind) {
    switch (kind) {
    case DiskEntry::Kind::File:
        return "a file";
    case DiskEntry::Kind::Folder:
        return "a folder";
    case DiskEntry::Kind::SymbolicLink:
        return "a symbolic link";
    case DiskEntry::Kind::Socket:
        return "a socket";
    case DiskEntry::Kind::Fifo:
        return "a fifo";
    case DiskEntry::Kind::Device:
        break;
    }
    return "a device";
}

} // namespace storage::host
