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

/// The entries that were imported from a folder of the disk. Allows removing those from the disk that are no
/// longer in the storage.
///
/// An entry of the disk counts as imported only if its kind, inode and device are unchanged, and except for
/// folders also its size and time. All other entries, including new ones, are never removed. Links are not
/// followed.
///
/// Not thread-safe.
class ImportedTree {
public:
    /// Lists a folder that is about to be imported.
    /// @throws CommandError
    explicit ImportedTree(const std::string& folder);

    /// Forgets entries that were not imported. Call it after the import.
    void forgetSkipped(MountedStorage& storage);

    /// Renames imported entries on disk if the storage has an entry of another kind at the same path.
    void setAside(MountedStorage& storage, Console& console);

    /// Undoes `setAside`, except where the path is taken again.
    void putBack() noexcept;

    /// Removes from the disk imported entries that are no longer in the storage, and entries that were set
    /// aside. Keeps folders that contain other entries. Reports failures to the console.
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
    using Entries = std::map<std::string, Entry>; ///< by relative path: folders before their content

    void moveAside(const std::string& path);
    FileDescriptor folderOf(const std::string& path) const;
    bool isSame(const std::string& path, const Entry& entry) const;
    bool isImportedThroughout(const std::string& path) const;
    void removeIfSame(const std::string& path, const Entry& entry) const;
    std::string diskPath(const std::string& path) const { return root_.path() + '/' + path; }

    FileDescriptor root_;
    Entries entries_;
    std::vector<Aside> aside_;
    unsigned nextAside_ = 0; ///< number in the next temporary name
};

} // namespace storage::host
