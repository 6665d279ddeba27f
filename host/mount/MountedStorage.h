#pragma once

#include "host/mount/AttributeChange.h"
#include "host/mount/FileContents.h"
#include "host/mount/InodeGuards.h"
#include "host/mount/InodeTree.h"
#include "host/mount/StorageSpace.h"
#include "host/support/Failure.h"

#include <cstdint>
#include <functional>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace storage::host {

/// A storage as a Linux file system: the operations that programs make through the kernel, told in terms of a
/// provider's. What programs rely on and a provider does not have is bridged here and in the classes that this one is
/// made of.
///
/// Owns everything that the mount knows of the storage; borrows the provider, which nobody else changes meanwhile.
/// Every entry belongs to the user who runs the program. Failures are what `errnoOfCurrentException` knows.
///
/// Thread safety: any number of threads.
class MountedStorage {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    /// An entry that has been looked up, to which the kernel now holds one more reference.
    struct Found {
        Inode* inode; ///< nothing when there is no such entry
        struct stat status;
    };

    enum class Replacement { Allowed, Refused };
    enum class ListingDetail { Names, Attributes };

    /// Takes one entry of a listing. Of an entry whose name and kind alone are asked for, the status has kind and
    /// number alone. @return whether it had room for the entry
    using ListingVisitor =
        std::function<bool(const std::string& name, const Found& entry, std::uint64_t position)>;

    explicit MountedStorage(const IProvider& provider);

    FolderInode& root() noexcept { return tree_.root(); }

    Found lookUp(FolderInode& folder, std::string_view name);

    /// The kernel has dropped references; with the last one to a removed entry its bytes go.
    void release(Inode& inode, std::uint64_t references) { tree_.release(inode, references); }

    struct stat status(Inode& inode);
    struct stat change(Inode& inode, const AttributeChange& change);

    Found makeFile(FolderInode& folder, std::string_view name, mode_t permissions);
    Found makeFolder(FolderInode& folder, std::string_view name, mode_t permissions);
    void removeFile(FolderInode& folder, std::string_view name);
    void removeFolder(FolderInode& folder, std::string_view name);

    /// For everybody else the entry is at the one place or at the other, and a target that is replaced is there before
    /// and after. Both names standing for one entry changes nothing.
    void rename(FolderInode& folder, std::string_view name, FolderInode& newFolder, std::string_view newName,
                Replacement replacement);

    /// Visits the entries of a folder from a position on, "." and ".." at first, until the visitor has no more room.
    /// With their attributes, each entry taken is one reference of the kernel's more, but "." and "..".
    /// @param position  0, or what the visitor was given with the last entry it took
    void list(FolderInode& folder, std::uint64_t position, ListingDetail detail, const ListingVisitor& visit);

    std::size_t read(FileInode& file, std::uint64_t offset, std::span<char> buffer) {
        return contents_.read(file, offset, buffer);
    }
    void write(FileInode& file, std::uint64_t offset, std::span<const char> bytes) {
        contents_.write(file, offset, bytes);
    }
    void reach(FileInode& file, std::uint64_t size) { contents_.reach(file, size); }

    ProviderStorageInfo space() const { return space_.info(); }

    /// For those who answer requests, to be given up while one is answered that can only make room.
    MemoryReserve& reserve() noexcept { return space_.reserve(); }

    /// The files that programs may be started from, as paths below the mount point.
    std::vector<std::string> executables();

    /// Makes the storage itself be what programs saw, when no more operations come.
    /// @return the files of which that is not so: with bytes behind their end, or at another time
    std::vector<Failure> settle();

private:
    Found makeEntry(FolderInode& folder, std::string_view name, Inode::Kind kind, mode_t permissions);
    void createIn(FolderInode& folder, Inode& inode, mode_t permissions);
    Inode& requireChild(FolderInode& folder, const std::u16string& name, Inode::Kind kind);
    Found refer(Inode& inode);
    struct stat statusOf(Inode& inode);
    struct stat show(const Inode& inode) const;
    void move(Inode& source, FolderInode& folder, const std::u16string& name);
    void moveFile(FileInode& file, const StorageIRI& destination);
    template <typename Step>
    void removing(Inode& inode, const Step& step);
    struct stat apply(const AttributeChange& change, Inode& inode);
    void setModified(Inode& inode, const timespec& time) const;
    void setModifiedAnyway(Inode& inode, const timespec& time) const noexcept;
    void setPermissions(Inode& inode, mode_t permissions) const;
    void requireChangeable(const AttributeChange& change) const;
    template <typename Visit>
    void forEachKnownFile(const Visit& visit);
    std::shared_lock<std::shared_mutex> lockComplete(FolderInode& folder);

    const IProvider& provider_;
    InodeGuards guards_;
    InodeTree tree_;
    StorageSpace space_;
    FileContents contents_;
    const uid_t owner_;
    const gid_t group_;
};

} // namespace storage::host
