#pragma once

#include "host/mount/EntryChanges.h"
#include "host/mount/MountedAttributes.h"
#include "host/mount/MountedExtendedAttributes.h"
#include "host/mount/StorageSpace.h"
#include "host/mount/UnkeptCounts.h"
#include "host/support/Failure.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace storage::host {

/// A storage as a Linux file system: maps the operations that programs make through the kernel to those of a
/// provider. This class and its members implement the features that programs rely on and a provider lacks.
///
/// Owns the complete state of the mount. Borrows the provider, which must have no other user meanwhile.
/// Failures are exceptions for `errnoOfCurrentException`. Thread-safe.
class MountedStorage {
public:
    using IProvider = provider::IProvider;
    using ProviderStorageInfo = provider::ProviderStorageInfo;
    using IsInterrupted = FileContents::IsInterrupted;

    /// The result of a lookup. Counts as one more reference of the kernel.
    struct Found {
        Inode* inode; ///< null if there is no such entry
        struct stat status;
    };

    enum class ListingDetail { Names, Attributes };

    /// Receives one entry of a listing. For `ListingDetail::Names`, the status has only the file type and the
    /// inode number.
    /// @return whether there was room for the entry
    using ListingVisitor =
        std::function<bool(const std::string& name, const Found& entry, std::uint64_t position)>;

    /// Settings of a mount. A value.
    struct Settings {
        Owner owner = Owner::ofProcess(); ///< of entries that exist in the storage already
        StorageLimits limits = {};
        StorageUse use = {};     ///< what the storage holds at the beginning
        bool isExported = false; ///< at the end of the mount
    };

    explicit MountedStorage(const IProvider& provider) : MountedStorage(provider, Settings()) {}
    MountedStorage(const IProvider& provider, const Settings& settings);

    FolderInode& root() noexcept { return tree_.root(); }

    Found lookUp(FolderInode& folder, std::string_view name);

    /// Drops references of the kernel. The last reference to a removed entry destroys the inode.
    void release(Inode& inode, std::uint64_t references);

    struct stat status(Inode& inode) {
        return attributes_.status(inode);
    }
    CompleteStatus completeStatus(Inode& inode) { return attributes_.completeStatus(inode); }
    struct stat change(Inode& inode, const AttributeChange& change) {
        return attributes_.change(inode, change);
    }

    bool clearSetIds(FileInode& file, AttributeChange::SetIds setIds) {
        return attributes_.clearSetIds(file, setIds);
    }

    void setExtended(Inode& inode, std::string_view name, std::string_view value, int flags) {
        extended_.set(inode, name, value, flags);
    }
    std::string getExtended(const Inode& inode, std::string_view name) { return extended_.get(inode, name); }
    std::string listExtended(const Inode& inode, ExtendedAttributeSet::Names wanted) {
        return extended_.list(inode, wanted);
    }
    void removeExtended(Inode& inode, std::string_view name) { extended_.remove(inode, name); }

    /// @param owner  of the new entry; its group is replaced if the folder has the set-group-ID bit
    Found makeFile(FolderInode& folder, std::string_view name, mode_t permissions, Owner owner);
    Found makeFolder(FolderInode& folder, std::string_view name, mode_t permissions, Owner owner);

    /// @throws ErrnoError ENAMETOOLONG when the target is longer than a path may be
    Found makeSymbolicLink(FolderInode& folder, std::string_view name, std::string_view target, Owner owner);

    /// Creates a fifo, a socket or a device.
    /// @throws ErrnoError EINVAL for another type
    Found makeNode(FolderInode& folder, std::string_view name, mode_t typeAndPermissions, dev_t device,
                   Owner owner);

    /// Creates a file without a name, as O_TMPFILE does. `link` adds a name. Without one, the file is removed
    /// with its last reference.
    /// @param folder  determines the group; may be removed
    Found makeNamelessFile(FolderInode& folder, mode_t permissions, Owner owner);

    /// Adds a name to an inode that is not a folder; the first one of a nameless inode.
    Found link(Inode& inode, FolderInode& folder, std::string_view name);

    /// @throws ErrnoError EINVAL when the inode is not a symbolic link
    static const std::string& readLink(const Inode& inode);

    /// Removes an entry that is not a folder.
    void removeFile(FolderInode& folder, std::string_view name);
    void removeFolder(FolderInode& folder, std::string_view name);

    /// Atomic with respect to all other operations: the entry has either the old name or the new one, and the
    /// new name exists throughout if an entry is replaced. Does nothing if both names belong to one inode.
    void rename(FolderInode& folder, std::string_view name, FolderInode& newFolder, std::string_view newName,
                const RenameMode& mode);

    /// Visits the entries of a folder after a position, "." and ".." first, until the visitor has no more
    /// room. For `ListingDetail::Attributes`, each accepted entry except "." and ".." counts as one more
    /// reference of the kernel.
    /// @param position  0, or the position of the last accepted entry
    void list(FolderInode& folder, std::uint64_t position, ListingDetail detail, const ListingVisitor& visit);

    std::size_t read(FileInode& file, std::uint64_t offset, std::span<char> buffer) {
        return contents_.read(file, offset, buffer);
    }
    FileContents::CachedBlocks write(FileInode& file, std::uint64_t offset, std::span<const char> bytes) {
        return contents_.write(file, offset, bytes);
    }

    /// Sets the time of modification to now. Called after writes if the kernel does not maintain the times of
    /// files.
    void stampModified(FileInode& file) { attributes_.stampModified(file); }

    void allocate(
        FileInode& file, int mode, std::uint64_t offset, std::uint64_t length,
        const IsInterrupted& isInterrupted = [] { return false; }) {
        contents_.allocate(file, mode, offset, length, isInterrupted);
    }

    /// See `FileContents`. Dirty pages in the kernel's cache are holes here.
    std::uint64_t seekData(FileInode& file, std::uint64_t offset) { return contents_.seekData(file, offset); }
    std::uint64_t seekHole(FileInode& file, std::uint64_t offset) { return contents_.seekHole(file, offset); }

    ProviderStorageInfo space() const { return space_.info(); }

    /// @param available  bytes
    StorageQuota::Entries entries(std::uint64_t available) const { return space_.quota().entries(available); }

    /// The memory behind `space`: its reserve, and memory that removals have freed.
    StorageSpace& memory() noexcept { return space_; }

    /// Visits the files that the kernel refers to and that are not removed. They may be destroyed meanwhile,
    /// so use the addresses only as the kernel's inode numbers. No lock is held during a visit.
    /// @pre no entry is moved or removed meanwhile
    void visitReferencedFiles(const std::function<void(const FileInode*)>& visit);

    /// Files that `settle` could not make equal to what programs saw.
    struct Unsettled {
        std::vector<Failure> failures;      ///< files with slack after their end or with another time
        std::vector<std::string> withHoles; ///< paths of files without space to fill their holes
    };

    /// Whether the storage is persistent.
    bool isPersistent() const;

    /// Counts what would be lost if the mount ended now.
    UnkeptCounts unkept();

    /// Makes the storage equal to what programs saw. Precondition: no program changes anything meanwhile.
    Unsettled settle();

private:
    Found makeEntry(FolderInode& folder, std::string_view name, NewEntry entry);
    Found refer(const LockedTree& tree, TreeEntry* entry);
    void complete(FolderInode& folder);

    const IProvider& provider_;
    const Ownership ownership_;
    InodeGuards guards_;
    InodeTree tree_;
    StorageSpace space_;
    FileContents contents_;
    MountedAttributes attributes_;
    MountedExtendedAttributes extended_;
    EntryChanges changes_;
};

} // namespace storage::host
