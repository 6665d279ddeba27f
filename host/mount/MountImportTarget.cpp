#include "host/mount/MountImportTarget.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/ErrnoError.h"

#include <cerrno>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace storage::host {

namespace {

// Modes of new entries until `apply` sets the final ones.
constexpr mode_t temporaryFileMode = 0600;
constexpr mode_t temporaryFolderMode = 0700;

std::string temporaryName(unsigned number) {
    return ".qzstorage-import-" + std::to_string(number);
}

Owner ownerOf(const DiskAttributes& attributes) {
    return attributes.owner ? Owner{attributes.owner->user, attributes.owner->group} : Owner::ofProcess();
}

} // namespace

/// A file under its final name, or under a temporary name in the same folder if it replaces an entry.
class MountImportTarget::NewFile final : public ImportTarget::File {
public:
    NewFile(MountImportTarget& target, const StoragePath& path)
        : target_(target),
          folder_(target.paths_.folderAt(path.parent())),
          finalName_(programNameOf(path)),
          name_(finalName_) {
        MountedStorage& storage = target_.storage_;
        for (unsigned number = 0; target_.isTaken(folder_, name_); ++number) {
            name_ = temporaryName(number);
        }
        file_ = static_cast<FileInode*>(
            storage.makeFile(folder_, name_, temporaryFileMode, Owner::ofProcess()).inode);
    }
    ~NewFile() override {
        if (!isFinished_) {
            try {
                target_.storage_.removeFile(folder_, name_);
            } catch (...) { // the earlier failure is reported
            }
        }
        target_.storage_.release(*file_, 1);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void write(std::span<const char> bytes) override {
        target_.storage_.write(*file_, offset_, bytes);
        offset_ += bytes.size();
    }

    /// The next write, or `finish`, makes the hole.
    void writeHole(std::uint64_t count) override { offset_ += count; }

    void finish(const DiskAttributes& attributes) override {
        MountedStorage& storage = target_.storage_;
        if (static_cast<std::uint64_t>(storage.status(*file_).st_size) < offset_) {
            AttributeChange change;
            change.size = offset_;
            storage.change(*file_, change);
        }
        if (name_ != finalName_) {
            storage.rename(folder_, name_, folder_, finalName_, {});
        }
        isFinished_ = true;
        target_.apply(*file_, attributes);
    }

private:
    MountImportTarget& target_;
    FolderInode& folder_;
    const std::string finalName_;
    std::string name_;
    FileInode* file_ = nullptr;
    std::uint64_t offset_ = 0;
    bool isFinished_ = false;
};

void MountImportTarget::requirePlace(const StoragePath& path) {
    paths_.folderAt(path.parent());
}

void MountImportTarget::enterFolder(const StoragePath& path, const DiskAttributes*) {
    Inode* const existing = paths_.find(path);
    if (existing == nullptr) {
        FolderInode& above = paths_.folderAt(path.parent());
        storage_.release(
            *storage_.makeFolder(above, programNameOf(path), temporaryFolderMode, Owner::ofProcess()).inode,
            1);
    } else if (!existing->isFolder()) {
        throw ErrnoError(ENOTDIR);
    }
}

void MountImportTarget::leaveFolder(const StoragePath& path, const DiskAttributes* attributes) {
    if (attributes != nullptr) {
        apply(paths_.folderAt(path), *attributes);
    }
}

std::unique_ptr<ImportTarget::File> MountImportTarget::makeFile(const StoragePath& path) {
    return std::make_unique<NewFile>(*this, path);
}

bool MountImportTarget::link(const StoragePath& existing, const StoragePath& path) {
    Inode& file = paths_.at(existing);
    FolderInode& folder = clearPlace(path);
    storage_.release(*storage_.link(file, folder, programNameOf(path)).inode, 1);
    return true;
}

void MountImportTarget::addName(const StoragePath& existing, const StoragePath& path) {
    link(existing, path);
}

void MountImportTarget::makeSpecial(const StoragePath& path, const DiskAttributes& attributes) {
    FolderInode& folder = clearPlace(path);
    const std::string name = programNameOf(path);
    const Owner owner = ownerOf(attributes);
    Inode& made = attributes.kind == EntryKind::SymbolicLink
                      ? *storage_.makeSymbolicLink(folder, name, attributes.linkTarget, owner).inode
                      : *storage_
                             .makeNode(folder, name, fileTypeOf(attributes.kind) | temporaryFileMode,
                                       attributes.device, owner)
                             .inode;
    apply(made, attributes);
    storage_.release(made, 1);
}

/// Removes the entry that a new one replaces. Keeps a folder, so creating the new entry fails.
FolderInode& MountImportTarget::clearPlace(const StoragePath& path) {
    FolderInode& folder = paths_.folderAt(path.parent());
    if (Inode* const existing = paths_.find(path); existing != nullptr && !existing->isFolder()) {
        storage_.removeFile(folder, programNameOf(path));
    }
    return folder;
}

bool MountImportTarget::isTaken(FolderInode& folder, const std::string& name) {
    Inode* const inode = storage_.lookUp(folder, name).inode;
    if (inode == nullptr) {
        return false;
    }
    storage_.release(*inode, 1);
    return true;
}

/// Sets the owner before the permissions, so that no set-user-ID bit is ever set for the wrong owner.
void MountImportTarget::apply(Inode& inode, const DiskAttributes& attributes) {
    if (const Owner owner = ownerOf(attributes); owner != Owner::ofProcess()) {
        AttributeChange given;
        given.owner = owner.user;
        given.group = owner.group;
        storage_.change(inode, given);
    }
    if (xattrs_ == MountOptions::Xattrs::Kept) {
        for (const auto& [name, value] : attributes.xattrs) {
            storage_.setExtended(inode, name, value, 0);
        }
    }
    AttributeChange change;
    change.modified = attributes.modified;
    change.accessed = attributes.modified;
    if (attributes.kind != EntryKind::SymbolicLink) {
        change.permissions = attributes.mode;
    }
    storage_.change(inode, change);
}

} // namespace storage::host
