#pragma once

#include "host/mount/MountedStorage.h"
#include "tests/support/TreeSnapshot.h"

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

/// The operations of a mounted storage on paths. Makes the requests that the kernel makes if a program uses a
/// path: one lookup after the other. Releases each reference unless stated otherwise.
///
/// Owns the mounted storage; borrows the provider. Thread-safe.
class MountedTree {
public:
    using FileInode = storage::host::FileInode;
    using FolderInode = storage::host::FolderInode;
    using Inode = storage::host::Inode;
    using MountedStorage = storage::host::MountedStorage;
    using Owner = storage::host::Owner;

    explicit MountedTree(const foundation::storage::provider::IProvider& provider) : storage_(provider) {}

    MountedStorage& storage() { return storage_; }

    /// Returns the entry; null if there is none.
    Inode* find(const std::string& path);

    /// Returns an entry that must exist.
    FileInode& file(const std::string& path);
    FolderInode& folder(const std::string& path);
    Inode& at(const std::string& path);

    /// Like `file`, with a reference for the caller, to be released with `close`.
    FileInode& open(const std::string& path);
    void close(FileInode& file) { storage_.release(file, 1); }

    FileInode& makeFile(const std::string& path, std::string_view content = "", mode_t permissions = 0644,
                        Owner owner = Owner::ofProcess());
    FolderInode& makeFolder(const std::string& path, mode_t permissions = 0755,
                            Owner owner = Owner::ofProcess());
    Inode& makeSymbolicLink(const std::string& path, std::string_view target);
    Inode& makeNode(const std::string& path, mode_t typeAndPermissions, dev_t device = 0);
    Inode& link(const std::string& path, const std::string& newPath);

    /// Returns a file without a name, with a reference for the caller.
    FileInode& makeNameless(std::string_view content);
    void removeFile(const std::string& path);
    void removeFolder(const std::string& path);
    void rename(const std::string& from, const std::string& to, unsigned flags = 0,
                Owner caller = Owner::ofProcess());

    std::string read(FileInode& file, std::uint64_t offset, std::size_t count);

    /// Returns all bytes that programs see in a file.
    std::string bytesOf(FileInode& file);
    void write(FileInode& file, std::uint64_t offset, std::string_view bytes);
    void resize(FileInode& file, std::uint64_t size);
    void setModified(Inode& inode, const timespec& time);
    void setPermissions(Inode& inode, mode_t permissions);
    void setOwner(Inode& inode, Owner owner);
    Owner ownerOf(Inode& inode);
    mode_t permissionsOf(Inode& inode) { return storage_.status(inode).st_mode & 07777U; }
    std::uint64_t sizeOf(Inode& inode) { return static_cast<std::uint64_t>(storage_.status(inode).st_size); }
    timespec modifiedOf(Inode& inode) { return storage_.status(inode).st_mtim; }

    /// Returns the names in a folder in listing order, without "." and "..".
    std::vector<std::string> namesIn(FolderInode& folder);

    /// Returns all files and folders that programs see.
    TreeSnapshot snapshot();

private:
    void addFolder(FolderInode& folder, const std::string& path, TreeSnapshot& tree);

    MountedStorage storage_;
};
