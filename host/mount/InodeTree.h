#pragma once

#include "host/mount/ChildTable.h"
#include "host/mount/InodeGuards.h"
#include "hostapi/storage/provider/IProvider.h"

#include <map>
#include <memory>
#include <shared_mutex>
#include <string_view>

namespace storage::host {

/// A folder of a mounted storage. Owns its known children, which the tree's lock guards.
struct FolderInode final : Inode {
    FolderInode(std::u16string entryName, std::uint64_t entryNumber) noexcept
        : Inode(Kind::Folder, std::move(entryName), entryNumber) {}

    ChildTable children;
    bool childrenComplete = false; ///< what programs could name and is not here does not exist
};

/// The entries of a mounted storage that have been asked for: what they are called, where they stand and what their
/// attributes are. The mount is the storage's only user, so what is known here stays true, and a lookup or a listing
/// asks the storage only once.
///
/// Owns all inodes, those of removed entries too as long as the kernel refers to them. The tree's lock guards names
/// and places: shared to rely on them, alone to change them, which makes a rename one step for everybody. Attributes
/// have the inodes' guards. Borrows the provider and the guards.
///
/// Thread safety: any number of threads, each operation with the lock that it names.
class InodeTree {
    using Removed = std::map<const Inode*, std::unique_ptr<Inode>>;

public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    InodeTree(const IProvider& provider, InodeGuards& guards);

    /// Takes no stack for depth.
    ~InodeTree();

    InodeTree(const InodeTree&) = delete;
    InodeTree& operator=(const InodeTree&) = delete;

    std::shared_mutex& lock() noexcept { return lock_; }
    FolderInode& root() noexcept { return root_; }

    /// Where an entry stands, that is not removed. Needs the lock, shared.
    static StorageIRI locationOf(const Inode& inode);
    static StorageIRI locationOf(const FolderInode& folder, std::u16string_view name);

    /// Whether the storage need not be asked for the child of that name. Needs the lock, shared.
    static bool isSettled(const FolderInode& folder, std::u16string_view name) noexcept;

    /// The child of that name, or nothing. Needs the lock, alone, unless it is settled.
    Inode* find(FolderInode& folder, std::u16string_view name);

    /// Gets to know all children of a folder. Needs the lock, alone.
    void complete(FolderInode& folder);

    /// Gets to know the attributes of an entry. Needs the lock, shared, and the inode's guard.
    void loadAttributes(Inode& inode);

    /// As `loadAttributes`, without the guard.
    void requireAttributes(Inode& inode);

    /// Makes a folder one that was changed at `time`, by a change of its entries. Its attributes must be known. Needs
    /// the lock, alone.
    void stamp(FolderInode& folder, const timespec& time) noexcept;

    /// Adds an entry without attributes. Needs the lock, alone.
    /// @throws std::bad_alloc with nothing changed
    Inode& add(FolderInode& folder, Inode::Kind kind, std::u16string name);

    /// Takes back an addition. Needs the lock, alone.
    static void discard(Inode& inode) noexcept;

    using RemovedPlace = Removed::node_type;

    /// What a removal takes, so that it cannot fail once the storage's entry is gone.
    static RemovedPlace prepareRemoval(const Inode& inode);

    /// Takes an entry out of its folder. Needs the lock, alone.
    void remove(Inode& inode, RemovedPlace place) noexcept;

    /// The kernel has dropped `count` of its references. Needs no lock.
    void release(Inode& inode, std::uint64_t count);

private:
    std::unique_ptr<Inode> make(Inode::Kind kind, std::u16string name);
    Inode* ask(FolderInode& folder, std::u16string_view name);
    void loadFile(FileInode& file) const;
    void loadFolder(FolderInode& folder) const;

    const IProvider& provider_;
    InodeGuards& guards_;
    std::shared_mutex lock_;
    std::uint64_t nextNumber_ = 1;
    FolderInode root_;
    Removed removed_;
};

} // namespace storage::host
