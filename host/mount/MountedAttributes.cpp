#include "host/mount/MountedAttributes.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/KernelTime.h"
#include "host/mount/SpecialInodes.h"
#include "host/support/FileTime.h"

#include <cerrno>

namespace storage::host {

namespace {

constexpr std::uint64_t blocksOfPage = pageSize / 512; ///< in the unit of st_blocks

void requireFile(const Inode& inode) {
    if (!inode.isFile()) {
        throw ErrnoError(inode.isFolder() ? EISDIR : EINVAL);
    }
}

mode_t typeOf(Inode::Kind kind) {
    switch (kind) {
    case Inode::Kind::File:
        return S_IFREG;
    case Inode::Kind::Folder:
        return S_IFDIR;
    case Inode::Kind::SymbolicLink:
        return S_IFLNK;
    case Inode::Kind::Fifo:
        return S_IFIFO;
    case Inode::Kind::Socket:
        return S_IFSOCK;
    case Inode::Kind::CharacterDevice:
        return S_IFCHR;
    case Inode::Kind::BlockDevice:
        return S_IFBLK;
    }
    return 0;
}

dev_t deviceOf(const Inode& inode) {
    const bool isDevice =
        inode.kind == Inode::Kind::CharacterDevice || inode.kind == Inode::Kind::BlockDevice;
    return isDevice ? static_cast<const SpecialInode&>(inode).device : 0;
}

/// Trims a file's slack at the end of the scope, also after an exception.
class SlackTrimmer {
public:
    SlackTrimmer(FileContents& contents, FileInode& file) : contents_(contents), file_(file) {}
    ~SlackTrimmer() { contents_.trimSlack(file_); }
    SlackTrimmer(const SlackTrimmer&) = delete;
    SlackTrimmer& operator=(const SlackTrimmer&) = delete;

private:
    FileContents& contents_;
    FileInode& file_;
};

} // namespace

MountedAttributes::MountedAttributes(const IProvider& provider, InodeTree& tree, InodeGuards& guards,
                                     FileContents& contents, StorageSpace& space, const Ownership& ownership)
    : provider_(provider),
      tree_(tree),
      guards_(guards),
      contents_(contents),
      space_(space),
      ownership_(ownership) {}

struct stat MountedAttributes::status(Inode& inode) {
    const SharedTree tree(tree_);
    return statusOf(tree, inode);
}

struct stat MountedAttributes::statusOf(const LockedTree& tree, Inode& inode) {
    const auto held = guards_.hold(inode);
    tree.loadAttributes(inode, held);
    return makeStatus(tree, inode, held);
}

CompleteStatus MountedAttributes::completeStatus(Inode& inode) {
    const SharedTree tree(tree_);
    const auto held = guards_.hold(inode);
    tree.loadAttributes(inode, held);
    return {makeStatus(tree, inode, held), inode.attributes.born};
}

struct stat MountedAttributes::identify(const Inode& inode) {
    struct stat status {};
    status.st_ino = inode.number;
    status.st_mode = typeOf(inode.kind);
    status.st_rdev = deviceOf(inode);
    return status;
}

struct stat MountedAttributes::change(Inode& inode, const AttributeChange& change) {
    if (!change.size && !change.owner && !change.group) {
        return apply(change, inode);
    }
    const StorageSpace::Turn turn = contents_.turn();
    if (!change.size) {
        return apply(change, inode);
    }
    requireFile(inode);
    auto& file = static_cast<FileInode&>(inode);
    contents_.prepareToShrink(file, *change.size);
    const SlackTrimmer trimmer(contents_, file); // slack remains after a truncation and after failed growth
    return apply(change, inode);
}

void MountedAttributes::stampModified(FileInode& file) {
    const timespec now = kernelTime();
    const auto held = guards_.hold(file);
    file.attributes.modified = now;
    file.attributes.changed = now;
}

/// A changed size is a modification. Permissions change before the owner, so that no set-user-ID bit gets a
/// new owner.
struct stat MountedAttributes::apply(const AttributeChange& change, Inode& inode) {
    const SharedTree tree(tree_);
    auto held = guards_.hold(inode);
    tree.loadAttributes(inode, held);
    EntryAttributes& attributes = inode.attributes;
    const bool isResized = change.size && *change.size != attributes.size;
    if (change.size) { // also for the same size: that frees reserved pages beyond it
        contents_.resize(tree, static_cast<FileInode&>(inode), held, *change.size);
    }
    if (isResized) {
        setModifiedAnyway(tree, inode, held, change.modified.value_or(kernelTime()));
    } else if (change.modified) {
        setModified(tree, inode, held, *change.modified);
    }
    if (change.permissions) {
        setPermissions(tree, inode, held, *change.permissions & permissionBits);
    }
    attributes.permissions = withSetIds(attributes.permissions, change.setIds);
    setOwner(inode, change);
    attributes.accessed = change.accessed.value_or(attributes.accessed);
    attributes.changed = change.changed.value_or(kernelTime());
    return makeStatus(tree, inode, held);
}

mode_t MountedAttributes::withSetIds(mode_t permissions, AttributeChange::SetIds setIds) {
    using SetIds = AttributeChange::SetIds;
    if (setIds == SetIds::Kept) {
        return permissions;
    }
    const bool clearsGroup = setIds == SetIds::ClearedByOther || (permissions & S_IXGRP) != 0;
    return permissions & ~static_cast<mode_t>(S_ISUID | (clearsGroup ? S_ISGID : 0));
}

bool MountedAttributes::clearSetIds(FileInode& file, AttributeChange::SetIds setIds) {
    const SharedTree tree(tree_);
    const auto held = guards_.hold(file);
    tree.loadAttributes(file, held);
    const mode_t before = file.attributes.permissions;
    file.attributes.permissions = withSetIds(before, setIds);
    return file.attributes.permissions != before;
}

struct stat MountedAttributes::makeStatus(const LockedTree& tree, const Inode& inode,
                                          const InodeGuards::Held& held) const {
    const EntryAttributes& attributes = inode.attributes;
    struct stat status = identify(inode);
    status.st_mode |= attributes.permissions;
    status.st_nlink = static_cast<nlink_t>(tree.linksOf(inode, held));
    const Owner owner = ownership_.of(inode);
    status.st_uid = owner.user;
    status.st_gid = owner.group;
    status.st_size = static_cast<off_t>(attributes.size);
    status.st_blksize = static_cast<blksize_t>(pageSize);
    if (inode.isFile()) {
        const std::uint64_t pages = FileContents::reportPages(static_cast<const FileInode&>(inode));
        status.st_blocks = static_cast<blkcnt_t>(pages * blocksOfPage);
    }
    status.st_mtim = attributes.modified;
    status.st_atim = attributes.accessed;
    status.st_ctim = attributes.changed;
    return status;
}

void MountedAttributes::setModified(const LockedTree& tree, Inode& inode, const InodeGuards::Held&,
                                    const timespec& time) const {
    if (tree.isStored(inode)) {
        provider_.doSetLastModified(tree.locationOf(inode), fromDiskTime(time));
    }
    inode.attributes.modified = time;
}

/// Used after a change that cannot be undone. If the provider refuses the time, `FileContents::settle` sets
/// it at the end.
void MountedAttributes::setModifiedAnyway(const LockedTree& tree, Inode& inode, const InodeGuards::Held& held,
                                          const timespec& time) const noexcept {
    try {
        setModified(tree, inode, held, time);
    } catch (...) {
        inode.attributes.modified = time;
    }
}

void MountedAttributes::setPermissions(const LockedTree& tree, Inode& inode, const InodeGuards::Held&,
                                       mode_t permissions) const {
    EntryAttributes changed = inode.attributes;
    changed.permissions = permissions;
    if (changed.isWritable() != inode.attributes.isWritable() && tree.isStored(inode)) {
        provider_.doSetWritable(tree.locationOf(inode), changed.isWritable());
    }
    inode.attributes = changed;
}

void MountedAttributes::setOwner(Inode& inode, const AttributeChange& change) const {
    const Owner present = ownership_.of(inode);
    const Owner wanted{change.owner.value_or(present.user), change.group.value_or(present.group)};
    if (ownership_.takesMemory(inode, wanted)) {
        space_.require(sizeof(RareAttributes));
    }
    ownership_.prepare(inode, wanted);
    ownership_.set(inode, wanted);
}

} // namespace storage::host
