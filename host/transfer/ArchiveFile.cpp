#include "host/transfer/ArchiveFile.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskOwnership.h"
#include "host/disk/DiskPath.h"
#include "host/support/CommandError.h"
#include "host/support/DefaultMode.h"
#include "host/support/Umask.h"

#include <cerrno>
#include <fcntl.h>

namespace storage::host {

ArchiveFile::ArchiveFile(const std::string& path)
    : replaced_(replacedAt(path)),
      folder_(FileDescriptor(diskParent(path), O_PATH | O_DIRECTORY), WritableFolder::ReadOnly::Respect),
      temporary_(folder_, diskName(path)) {}

std::optional<struct stat> ArchiveFile::replacedAt(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return std::nullopt; // other errors are reported when the file is created
    }
    if (!S_ISREG(status.st_mode)) {
        throw CommandError(path, std::string(describe(entryKindOf(status.st_mode))) + " is in the way");
    }
    return status;
}

void ArchiveFile::finish() {
    mode_t mode = defaultMode(EntryKind::File, currentUmask());
    if (replaced_) {
        const DiskOwner owner{replaced_->st_uid, replaced_->st_gid};
        mode =
            permissionsFor(replaced_->st_mode & permissionBits, owner, changeOwner(temporary_.file(), owner));
    }
    if (::fchmod(temporary_.file().number(), mode) != 0) {
        throw diskError(temporary_.file().path(), errno);
    }
    temporary_.moveIntoPlace();
}

} // namespace storage::host
