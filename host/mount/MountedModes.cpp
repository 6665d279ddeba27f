#include "host/mount/Executables.h"

#include "host/disk/DiskFolder.h"
#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace storage::host {

namespace {

constexpr mode_t reading = S_IRUSR | S_IRGRP | S_IROTH;

mode_t executableForReaders(mode_t mode) {
    return (mode | ((mode & reading) >> 2U)) & ~static_cast<mode_t>(S_IFMT);
}

/// What was not imported, or is something else now, stays as it is.
void adopt(MountedStorage& storage, const std::filesystem::path& path) {
    Inode* inode = &storage.root();
    for (const std::filesystem::path& name : path) {
        if (!inode->isFolder()) {
            return;
        }
        inode = storage.lookUp(static_cast<FolderInode&>(*inode), name.string()).inode;
        if (inode == nullptr) {
            return;
        }
        storage.release(*inode, 1);
    }
    if (!inode->isFolder()) {
        AttributeChange change;
        const struct stat status = storage.status(*inode);
        change.permissions = executableForReaders(status.st_mode);
        change.changed = status.st_ctim;
        storage.change(*inode, change);
    }
}

} // namespace

void adoptExecutables(MountedStorage& storage, const std::string& folder) {
    const auto options = std::filesystem::directory_options::skip_permission_denied;
    std::error_code error; // a folder that has gone meanwhile has nothing to be adopted
    for (std::filesystem::recursive_directory_iterator each(folder, options, error), end; each != end;
         each.increment(error)) {
        struct stat status {};
        if (::lstat(each->path().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (status.st_mode & anyExecution) != 0) {
            adopt(storage, each->path().lexically_relative(folder));
        }
    }
}

void makeExecutable(const std::vector<std::string>& paths, const std::string& folder, Console& console) {
    for (const std::string& path : paths) {
        const std::string exported = diskChild(folder, path);
        console.attempt(exported, [&] {
            const FileDescriptor file(exported, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
            struct stat status {};
            if (::fstat(file.number(), &status) != 0 ||
                ::fchmod(file.number(), executableForReaders(status.st_mode)) != 0) {
                throw diskError(exported, errno);
            }
        });
    }
}

} // namespace storage::host
