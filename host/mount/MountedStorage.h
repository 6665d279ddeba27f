#pragma once

#include "host/mount/EntryChanges.h"
#include "host/mount/MountedAttributes.h"
#include "host/mount/MountedExtendedAttributes.h"
#include "host/mount/StorageSpace.h"
#include "host/mount/UnkeptCounts.h"
#include "host/support/Failure.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace storage::host {

/// A storage as a Linux file system: the operations that programs make through the kernel, in terms of those of a
/// provider. What programs rely on and a provider lacks is implemented here and in the classes that this one is made of.
///
/// Owns everything that the mount knows of the storage; borrows the provider, which has no other user meanwhile.
/// Failures are exceptions for `errnoOfCurrentException`. Thread-safe.
class MountedStorage {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;
    using IsInterrupted = FileContents::IsInterrupted;

    /// The result of a lookup. It counts as one more reference of the kernel.
    struct Found {
        Inode* inode; ///< null if there is no such entry
        struct stat status;
    };

    enum class ListingDetail { Names, Attributes };

    /// Takes one entry of a listing. For `ListingDetail::Names` the status has the file type and the inode number only.
    /// @return whether there was room for the entry
    using ListingVisitor =
        std::function<bool(const std::string& name, const Found& entry, std::uint64_t position)>;

    /// How the mount is to differ from the usual one. A value.
    struct Settings {
        Owner owner = Owner::ofProcess(); ///< of the entries that the storage holds already
        StorageLimits limits = {};
        StorageUse use = {}; ///< what the storage holds at the beginning
    };

    explicit MountedStorage(const IProvider& provider) : MountedStorage(provider, Settings()) {}
    MountedStorage(const IProvider& provider, const Settings& settings);

    FolderInode& root() noexcept { return tree_.root(); }

    Found lookUp(FolderInode& folder, std::string_view name);

    /// The kernel drops references. The last one to a removed entry destroys the inode.
    void release(Inode& inode, std::uint64_t references);

    struct stat status(Inode& inode) {
        return attributes_.status(inode);
    }
    CompleteStatus completeStatus(Inode& inode) { return attributes_.completeStatus(inode); }
    struct stat change(Inode& inode, const AttributeChange& change) {
        return attributes_.change(inode, change);
    }

    bool clearSetIds(FileInode& file) { return attributes_.clearSetIds(file); }

    void setExtended(Inode& inode, std::string_view name, std::string_view value, int flags) {
        extended_.set(inode, name, value, flags);
    }
    std::string getExtended(const Inode& inode, std::string_view name) { return extended_.get(inode, name); }
    std::string listExtended(const Inode& inode, ExtendedAttributeSet::Names wanted) {
        return extended_.list(inode, wanted);
    }
    void removeExtended(Inode& inode, std::string_view name) { extended_.remove(inode, name); }

    /// @param owner  who makes the entry; a folder with the set-group-ID bit passes on its group instead
    Found makeFile(FolderInode& folder, std::string_view name, mode_t permissions, Owner owner);
    Found makeFolder(FolderInode& folder, std::string_view name, mode_t permissions, Owner owner);

    /// @throws ErrnoError ENAMETOOLONG when the target is longer than a path can be
    Found makeSymbolicLink(FolderInode& folder, std::string_view name, std::string_view target, Owner owner);

    /// Makes a fifo, a socket or a device.
    /// @throws ErrnoError EINVAL when the type is another
    Found makeNode(FolderInode& folder, std::string_view name, mode_t typeAndPermissions, dev_t device,
                   Owner owner);

    /// Makes a file that no folder has, as O_TMPFILE does. `link` gives it a name. It is removed with the last reference.
    /// @param folder  decides on the group; may be removed
    Found makeNamelessFile(FolderInode& folder, mode_t permissions, Owner owner);

    /// Gives an inode that is no folder a further name, or a nameless one its first.
    Found link(Inode& inode, FolderInode& folder, std::string_view name);

    /// @throws ErrnoError EINVAL when the inode is no symbolic link
    static const std::string& readLink(const Inode& inode);

    /// Removes an entry that is no folder.
    void removeFile(FolderInode& folder, std::string_view name);
    void removeFolder(FolderInode& folder, std::string_view name);

    /// Atomic for all other operations: the entry has either the old place or the new one, and the new name exists
    /// throughout if it replaces an entry. Does nothing if both names are of one entry.
    /// @param flags  RENAME_NOREPLACE, RENAME_WHITEOUT, or both; or RENAME_EXCHANGE
    void rename(FolderInode& folder, std::string_view name, FolderInode& newFolder, std::string_view newName,
                unsigned flags);

    /// Visits the entries of a folder after a position, "." and ".." first, until the visitor has no more room. For
    /// `ListingDetail::Attributes`, each entry taken except "." and ".." counts as one more reference of the kernel.
    /// @param position  0, or the position of the last entry that was taken
    void list(FolderInode& folder, std::uint64_t position, ListingDetail detail, const ListingVisitor& visit);

    std::size_t read(FileInode& file, std::uint64_t offset, std::span<char> buffer) {
        return contents_.read(file, offset, buffer);
    }
    FileContents::ShownBlocks write(FileInode& file, std::uint64_t offset, std::span<const char> bytes) {
        return contents_.write(file, offset, bytes);
    }

    /// The file was modified now. Called after writes if the kernel does not keep the times of files.
    void stampModified(FileInode& file) { attributes_.stampModified(file); }

    void allocate(
        FileInode& file, int mode, std::uint64_t offset, std::uint64_t length,
        const IsInterrupted& isInterrupted = [] { return false; }) {
        contents_.allocate(file, mode, offset, length, isInterrupted);
    }

    /// See `FileContents`. Pages that the kernel has not handed over yet are holes here.
    std::uint64_t seekData(FileInode& file, std::uint64_t offset) { return contents_.seekData(file, offset); }
    std::uint64_t seekHole(FileInode& file, std::uint64_t offset) { return contents_.seekHole(file, offset); }

    ProviderStorageInfo space() const { return space_.info(); }

    /// @param available  bytes
    StorageQuota::Entries entries(std::uint64_t available) const { return space_.quota().entries(available); }

    /// The memory behind `space`: its reserve, and what removals have freed.
    StorageSpace& memory() noexcept { return space_; }

    /// The files that the kernel refers to and that are not removed. They may be destroyed meanwhile: their addresses are
    /// their numbers for the kernel, and nothing else.
    std::vector<const FileInode*> referencedFiles();

    /// What `settle` could not do.
    struct Unsettled {
        std::vector<Failure> failures; ///< files with slack after their end, or with another time
        std::vector<std::string>
            withHoles; ///< paths of files that do not fit into the storage with their holes filled
    };
    /// Whether the storage keeps its content when this program has ended.
    bool isLasting() const;

    /// What would be lost if the mount ended now.
    UnkeptCounts unkept();

    /// Makes the storage equal to what programs saw. Called while no program changes anything.
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
