#pragma once

#include "host/console/Console.h"
#include "host/disk/FileDescriptor.h"
#include "host/mount/MountedStorage.h"
#include "host/support/DiskAttributes.h"

#include <cstdint>
#include <map>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace storage::host {

/// What a storage took over from a folder of the disk, so that what the storage does not have any more can be removed there.
///
/// An entry of the disk counts as imported only if it is still the same: kind, inode and device, unless it is a folder also size and
/// time.
/// Whatever else is there, or has appeared since, is never removed. Links are not followed.
///
/// Thread safety: one object is for one thread.
class ImportedTree {
public:
    /// Lists a folder that is about to be imported.
    /// @throws CommandError
    explicit ImportedTree(const std::string& folder);

    /// Forgets what the storage did not take over. To be called when it has been imported.
    void forgetSkipped(MountedStorage& storage);

    /// Moves aside what is in the way because the storage has an entry of another kind in its place.
    void setAside(MountedStorage& storage, Console& console);

    /// Undoes `setAside`, where nothing has taken the place yet.
    void putBack() noexcept;

    /// Removes what was imported and is not in the storage any more, and what was set aside. Folders in which something else is
    /// stay. Failures are reported to the console.
    void removeMissing(MountedStorage& storage, Console& console);

private:
    struct Entry {
        EntryKind kind;
        dev_t device;
        ino_t inode;
        std::int64_t size;
        timespec modified;
    };
    struct Aside {
        std::string original; ///< relative path
        std::string moved;    ///< relative path
    };
    using Entries = std::map<std::string, Entry>; ///< by relative path: folders before what is in them

    void moveAside(const std::string& path);
    FileDescriptor folderOf(const std::string& path) const;
    bool isSame(const std::string& path, const Entry& entry) const;
    bool isImportedThroughout(const std::string& path) const;
    void removeIfSame(const std::string& path, const Entry& entry) const;
    std::string diskPath(const std::string& path) const { return root_.path() + '/' + path; }

    FileDescriptor root_;
    Entries entries_;
    std::vector<Aside> aside_;
    unsigned nextAside_ = 0; ///< in the name of what is moved aside
};

} // namespace storage::host
