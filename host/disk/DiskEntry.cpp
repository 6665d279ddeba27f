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

constexpr unsigned statusBlockSize = 512; ///< unit of st_blocks

/// Only root can change an owner. A copy made by an ordinary user belongs to that user, so it does
/// not keep the set-user-ID and set-group-ID bits of another owner.
mode_t permissionsOf(const struct stat& status) {
    const uid_t user = ::geteuid();
    mode_t taken = 0;
    if (user == 0) {
        return status.st_mode & permissionBits;
    }
    if (status.st_uid != user) {
        taken |= S_ISUID;
    }
    if (status.st_gid != ::getegid()) {
        taken |= S_ISGID;
    }
    return status.st_mode & permissionBits & ~taken;
}

DiskEntry fromStatus(const struct stat& status) {
    return {entryKindOf(status.st_mode),
            static_cast<unsigned long long>(status.st_size),
            fromDiskTime(status.st_mtim),
            !isStorageTime(status.st_mtim),
            (status.st_mode & S_IWUSR) != 0,
            permissionsOf(status),
            status.st_dev,
            status.st_ino,
            status.st_nlink,
            {status.st_uid, status.st_gid},
            status.st_mtim,
            status.st_rdev,
            static_cast<unsigned long long>(status.st_blocks) * statusBlockSize};
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

EntryKind entryKindOf(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return EntryKind::File;
    case S_IFDIR:
        return EntryKind::Folder;
    case S_IFLNK:
        return EntryKind::SymbolicLink;
    case S_IFSOCK:
        return EntryKind::Socket;
    case S_IFIFO:
        return EntryKind::Fifo;
    case S_IFCHR:
        return EntryKind::CharacterDevice;
    default:
        return EntryKind::BlockDevice;
    }
}

mode_t fileTypeOf(EntryKind kind) {
    switch (kind) {
    case EntryKind::Folder:
        return S_IFDIR;
    case EntryKind::SymbolicLink:
        return S_IFLNK;
    case EntryKind::Socket:
        return S_IFSOCK;
    case EntryKind::Fifo:
        return S_IFIFO;
    case EntryKind::CharacterDevice:
        return S_IFCHR;
    case EntryKind::BlockDevice:
        return S_IFBLK;
    case EntryKind::File:
        break;
    }
    return S_IFREG;
}

} // namespace storage::host
