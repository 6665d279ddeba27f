#include "tests/host/mount/MountedTree.h"

#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <stdexcept>

using storage::host::AttributeChange;

namespace {

std::string parentOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace

MountedTree::Inode* MountedTree::find(const std::string& path) {
    if (path.empty() || path == "/") {
        return &storage_.root();
    }
    Inode* const above = find(parentOf(path));
    if (above == nullptr || !above->isFolder()) {
        return nullptr;
    }
    Inode* const found = storage_.lookUp(static_cast<FolderInode&>(*above), nameOf(path)).inode;
    if (found != nullptr) {
        storage_.release(*found, 1);
    }
    return found;
}

MountedTree::Inode& MountedTree::at(const std::string& path) {
    Inode* const inode = find(path);
    if (inode == nullptr) {
        throw std::runtime_error(path + " does not exist");
    }
    return *inode;
}

MountedTree::FileInode& MountedTree::file(const std::string& path) {
    Inode& inode = at(path);
    if (!inode.isFile()) {
        throw std::runtime_error(path + " is not a file");
    }
    return static_cast<FileInode&>(inode);
}

MountedTree::FolderInode& MountedTree::folder(const std::string& path) {
    Inode& inode = at(path);
    if (!inode.isFolder()) {
        throw std::runtime_error(path + " is not a folder");
    }
    return static_cast<FolderInode&>(inode);
}

MountedTree::FileInode& MountedTree::open(const std::string& path) {
    Inode* const found = storage_.lookUp(folder(parentOf(path)), nameOf(path)).inode;
    if (found == nullptr || !found->isFile()) {
        throw std::runtime_error(path + " cannot be opened as a file");
    }
    return static_cast<FileInode&>(*found);
}

MountedTree::FileInode& MountedTree::makeFile(const std::string& path, std::string_view content,
                                              mode_t permissions, Owner owner) {
    const auto made = storage_.makeFile(folder(parentOf(path)), nameOf(path), permissions, owner);
    auto& file = static_cast<FileInode&>(*made.inode);
    if (!content.empty()) {
        write(file, 0, content);
    }
    storage_.release(file, 1);
    return file;
}

MountedTree::FolderInode& MountedTree::makeFolder(const std::string& path, mode_t permissions, Owner owner) {
    const auto made = storage_.makeFolder(folder(parentOf(path)), nameOf(path), permissions, owner);
    storage_.release(*made.inode, 1);
    return static_cast<FolderInode&>(*made.inode);
}

MountedTree::Inode& MountedTree::makeSymbolicLink(const std::string& path, std::string_view target) {
    const auto made =
        storage_.makeSymbolicLink(folder(parentOf(path)), nameOf(path), target, Owner::ofProcess());
    storage_.release(*made.inode, 1);
    return *made.inode;
}

MountedTree::Inode& MountedTree::makeNode(const std::string& path, mode_t typeAndPermissions, dev_t device) {
    const auto made = storage_.makeNode(folder(parentOf(path)), nameOf(path), typeAndPermissions, device,
                                        Owner::ofProcess());
    storage_.release(*made.inode, 1);
    return *made.inode;
}

MountedTree::Inode& MountedTree::link(const std::string& path, const std::string& newPath) {
    const auto linked = storage_.link(at(path), folder(parentOf(newPath)), nameOf(newPath));
    storage_.release(*linked.inode, 1);
    return *linked.inode;
}

MountedTree::FileInode& MountedTree::makeNameless(std::string_view content) {
    const auto made = storage_.makeNamelessFile(storage_.root(), 0600, Owner::ofProcess());
    auto& file = static_cast<FileInode&>(*made.inode);
    write(file, 0, content);
    return file;
}

void MountedTree::removeFile(const std::string& path) {
    storage_.removeFile(folder(parentOf(path)), nameOf(path));
}

void MountedTree::removeFolder(const std::string& path) {
    storage_.removeFolder(folder(parentOf(path)), nameOf(path));
}

void MountedTree::rename(const std::string& from, const std::string& to, unsigned flags, Owner caller) {
    storage_.rename(folder(parentOf(from)), nameOf(from), folder(parentOf(to)), nameOf(to), {flags, caller});
}

std::string MountedTree::read(FileInode& file, std::uint64_t offset, std::size_t count) {
    std::string bytes(count, '?');
    bytes.resize(storage_.read(file, offset, bytes));
    return bytes;
}

std::string MountedTree::bytesOf(FileInode& file) {
    constexpr std::size_t more = 10; // past the end; must not be returned
    return read(file, 0, sizeOf(file) + more);
}

void MountedTree::write(FileInode& file, std::uint64_t offset, std::string_view bytes) {
    storage_.write(file, offset, bytes);
}

void MountedTree::resize(FileInode& file, std::uint64_t size) {
    AttributeChange change;
    change.size = size;
    storage_.change(file, change);
}

void MountedTree::setModified(Inode& inode, const timespec& time) {
    AttributeChange change;
    change.modified = time;
    storage_.change(inode, change);
}

void MountedTree::setPermissions(Inode& inode, mode_t permissions) {
    AttributeChange change;
    change.permissions = permissions;
    storage_.change(inode, change);
}

void MountedTree::setOwner(Inode& inode, Owner owner) {
    AttributeChange change;
    change.owner = owner.user;
    change.group = owner.group;
    storage_.change(inode, change);
}

MountedTree::Owner MountedTree::ownerOf(Inode& inode) {
    const struct stat status = storage_.status(inode);
    return {status.st_uid, status.st_gid};
}

std::vector<std::string> MountedTree::namesIn(FolderInode& folder) {
    std::vector<std::string> names;
    storage_.list(folder, 2, MountedStorage::ListingDetail::Names, [&](const std::string& name, auto&, auto) {
        names.push_back(name);
        return true;
    });
    return names;
}

TreeSnapshot MountedTree::snapshot() {
    TreeSnapshot tree;
    addFolder(storage_.root(), "", tree);
    return tree;
}

void MountedTree::addFolder(FolderInode& folder, const std::string& path, TreeSnapshot& tree) {
    const auto add = [&](Inode& inode, EntrySnapshot::Kind kind, const std::string& where,
                         std::string bytes) {
        const struct stat status = storage_.status(inode);
        tree[storage::host::toUtf16(where)] = {kind, storage::host::fromDiskTime(status.st_mtim),
                                               (status.st_mode & S_IWUSR) != 0, std::move(bytes)};
    };
    add(folder, EntrySnapshot::Kind::Folder, path.empty() ? "/" : path, "");
    for (const std::string& name : namesIn(folder)) {
        const std::string below = path + '/' + name;
        Inode& inode = at(below);
        if (inode.isFolder()) {
            addFolder(static_cast<FolderInode&>(inode), below, tree);
        } else if (inode.isFile()) {
            add(inode, EntrySnapshot::Kind::File, below, bytesOf(static_cast<FileInode&>(inode)));
        }
    }
}
