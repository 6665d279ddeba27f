#include "host/mount/MountedStorage.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/AccessTime.h"
#include "host/mount/EntryName.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/SpecialInodes.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>
#include <utility>

namespace storage::host {

namespace {

constexpr mode_t symbolicLinkPermissions = 0777; ///< as on every Linux file system; without effect

Inode::Kind kindOf(mode_t type) {
    switch (type & S_IFMT) {
    case S_IFIFO:
        return Inode::Kind::Fifo;
    case S_IFSOCK:
        return Inode::Kind::Socket;
    case S_IFCHR:
        return Inode::Kind::CharacterDevice;
    case S_IFBLK:
        return Inode::Kind::BlockDevice;
    default:
        throw ErrnoError(EINVAL);
    }
}

void requireRenameFlags(unsigned flags) {
    const bool isKnown = (flags & ~unsigned{RENAME_NOREPLACE | RENAME_EXCHANGE | RENAME_WHITEOUT}) == 0;
    const bool isAlone = (flags & RENAME_EXCHANGE) == 0 || flags == RENAME_EXCHANGE;
    if (!isKnown || !isAlone) {
        throw ErrnoError(EINVAL);
    }
}

/// Whether the storage's writable flag represents the permissions completely.
bool isStoredMode(const Inode& inode) {
    const mode_t usual = inode.isFolder() ? usualFolderPermissions : usualFilePermissions;
    const mode_t permissions = inode.attributes.permissions;
    return permissions == usual || permissions == (usual & ~writeBits);
}

} // namespace

MountedStorage::MountedStorage(const IProvider& provider, const Settings& settings)
    : provider_(provider),
      ownership_(settings.owner),
      tree_(provider, guards_),
      space_(provider, settings.limits, settings.use, settings.isExported ? &tree_.aliases() : nullptr),
      contents_(provider, tree_, guards_, space_),
      attributes_(provider, tree_, guards_, contents_, space_, ownership_),
      extended_(tree_, guards_, space_),
      changes_(provider, guards_, space_, contents_, ownership_) {}

MountedStorage::Found MountedStorage::lookUp(FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    {
        const SharedTree tree(tree_);
        if (const auto known = tree.findKnown(folder, entryName)) {
            return refer(tree, *known);
        }
    }
    ExclusiveTree tree(tree_);
    return refer(tree, tree.find(folder, entryName));
}

void MountedStorage::release(Inode& inode, std::uint64_t references) {
    {
        const SharedTree tree(tree_);
        if (!tree.dropReferences(inode, references)) {
            return;
        }
    }
    ExclusiveTree::RemovedPlace last; // destroyed after the lock is released: freeing a large file takes long
    ExclusiveTree tree(tree_);
    if (tree.isNameless(inode)) {
        last = changes_.removeNameless(tree, inode);
    } else if ((last = tree.takeRemoved(inode))) {
        space_.quota().noteDestroyed(inode);
    }
    space_.noteRemoval();
}

MountedStorage::Found MountedStorage::makeFile(FolderInode& folder, std::string_view name, mode_t permissions,
                                               Owner owner) {
    return makeEntry(folder, name, {Inode::Kind::File, permissions, owner});
}

MountedStorage::Found MountedStorage::makeFolder(FolderInode& folder, std::string_view name,
                                                 mode_t permissions, Owner owner) {
    return makeEntry(folder, name, {Inode::Kind::Folder, permissions, owner});
}

MountedStorage::Found MountedStorage::makeSymbolicLink(FolderInode& folder, std::string_view name,
                                                       std::string_view target, Owner owner) {
    if (target.size() >= PATH_MAX) {
        throw ErrnoError(ENAMETOOLONG);
    }
    return makeEntry(folder, name,
                     {Inode::Kind::SymbolicLink, symbolicLinkPermissions, owner, std::string(target)});
}

MountedStorage::Found MountedStorage::makeNode(FolderInode& folder, std::string_view name,
                                               mode_t typeAndPermissions, dev_t device, Owner owner) {
    return makeEntry(folder, name, {kindOf(typeAndPermissions), typeAndPermissions, owner, {}, device});
}

const std::string& MountedStorage::readLink(const Inode& inode) {
    if (inode.kind != Inode::Kind::SymbolicLink) {
        throw ErrnoError(EINVAL);
    }
    return static_cast<const SymbolicLinkInode&>(inode).target;
}

MountedStorage::Found MountedStorage::makeEntry(FolderInode& folder, std::string_view name, NewEntry entry) {
    const std::u16string entryName = storageNameOf(name);
    const StorageSpace::Turn turn(space_);
    ExclusiveTree tree(tree_);
    return refer(tree, &changes_.make(tree, folder, entryName, std::move(entry)));
}

MountedStorage::Found MountedStorage::makeNamelessFile(FolderInode& folder, mode_t permissions, Owner owner) {
    const StorageSpace::Turn turn(space_);
    ExclusiveTree tree(tree_);
    return refer(tree, &changes_.makeNameless(tree, folder, {Inode::Kind::File, permissions, owner}));
}

MountedStorage::Found MountedStorage::link(Inode& inode, FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    const StorageSpace::Turn turn(space_);
    ExclusiveTree tree(tree_);
    changes_.link(tree, inode, folder, entryName);
    return refer(tree, &inode);
}

void MountedStorage::removeFile(FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    ExclusiveTree tree(tree_);
    changes_.removeFile(tree, folder, entryName);
    space_.noteRemoval();
}

void MountedStorage::removeFolder(FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    ExclusiveTree tree(tree_);
    changes_.removeFolder(tree, folder, entryName);
    space_.noteRemoval();
}

void MountedStorage::rename(FolderInode& folder, std::string_view name, FolderInode& newFolder,
                            std::string_view newName, const RenameMode& mode) {
    requireRenameFlags(mode.flags);
    const std::u16string from = storageNameOf(name);
    const std::u16string to = storageNameOf(newName);
    std::optional<StorageSpace::Turn> turn;
    if ((mode.flags & RENAME_WHITEOUT) != 0) {
        turn.emplace(space_);
    }
    ExclusiveTree tree(tree_);
    if ((mode.flags & RENAME_EXCHANGE) != 0) {
        changes_.exchange(tree, folder, from, newFolder, to);
    } else {
        changes_.rename(tree, folder, from, newFolder, to, mode);
    }
}

void MountedStorage::list(FolderInode& folder, std::uint64_t position, ListingDetail detail,
                          const ListingVisitor& visit) {
    complete(folder);
    const SharedTree tree(tree_);
    const FolderInode* const parent = tree.parentOf(folder);
    const FolderInode& above = parent != nullptr ? *parent : folder;
    if ((position < 1 && !visit(".", {nullptr, MountedAttributes::identify(folder)}, 1)) ||
        (position < 2 && !visit("..", {nullptr, MountedAttributes::identify(above)}, 2))) {
        return;
    }
    {
        const auto held = guards_.hold(folder);
        if (folder.attributesKnown) { // those of the root may not be
            noteAccess(folder);
        }
    }
    bool tookAny = position < 2;
    for (TreeEntry* child = tree.childAfter(folder, position); child != nullptr;
         child = tree.childAfter(folder, tree.positionOf(*child))) {
        const bool isCounted = detail == ListingDetail::Attributes;
        Inode& inode = child->inode();
        Found entry{&inode, MountedAttributes::identify(inode)};
        try {
            entry.status = isCounted ? attributes_.statusOf(tree, inode) : entry.status;
        } catch (...) {
            if (tookAny) { // so that the kernel gets the entries counted so far; the next call throws
                return;
            }
            throw;
        }
        if (!visit(programNameOf(tree.nameOf(*child)).value(), entry, tree.positionOf(*child))) {
            return;
        }
        inode.references += isCounted ? 1 : 0;
        tookAny = true;
    }
}

void MountedStorage::complete(FolderInode& folder) {
    {
        const SharedTree tree(tree_);
        if (tree.isComplete(folder)) {
            return;
        }
    }
    ExclusiveTree tree(tree_);
    tree.complete(folder);
}

/// Collects the files in parts of constant size, because the storage may have used all memory.
void MountedStorage::visitReferencedFiles(const std::function<void(const FileInode*)>& visit) {
    constexpr std::size_t largestPart = 1024;
    struct Place {
        const FolderInode* folder;
        std::uint64_t position; ///< of the last child that was seen
    };
    std::vector<Place> open{{&root(), 0}}; // from the root to the current folder
    std::vector<const FileInode*> files;
    while (!open.empty()) {
        {
            const SharedTree tree(tree_);
            while (!open.empty() && files.size() < largestPart) {
                TreeEntry* const child = tree.childAfter(*open.back().folder, open.back().position);
                if (child == nullptr) {
                    open.pop_back();
                    continue;
                }
                open.back().position = tree.positionOf(*child);
                const Inode& inode = child->inode();
                if (inode.isFolder()) {
                    open.push_back({static_cast<const FolderInode*>(&inode), 0});
                } else if (inode.isFile() && !child->isAlias() && inode.references > 0) {
                    files.push_back(static_cast<const FileInode*>(&inode));
                }
            }
        }
        std::for_each(files.begin(), files.end(), visit);
        files.clear();
    }
}

bool MountedStorage::isPersistent() const {
    return !provider_.doHasFeature(provider::ExtendedFeature::VolatileStorage);
}

UnkeptCounts MountedStorage::unkept() {
    UnkeptCounts counts;
    const SharedTree tree(tree_);
    tree.forEachKnown([&](const TreeEntry& name) {
        const Inode& inode = name.inode();
        if (name.isAlias() || inode.kind == Inode::Kind::SymbolicLink) {
            ++counts.links;
        } else if (!inode.isStorable()) {
            ++counts.specialFiles;
        } else if (const auto held = guards_.hold(inode); inode.attributesKnown) {
            counts.modes += isStoredMode(inode) ? 0 : 1;
            counts.owners += inode.rare != nullptr && inode.rare->owner ? 1 : 0;
            counts.xattrs += inode.rare != nullptr ? inode.rare->extended.count() : 0;
        }
    });
    return counts;
}

MountedStorage::Unsettled MountedStorage::settle() {
    Unsettled unsettled;
    ExclusiveTree tree(tree_);
    changes_.removeNameless(tree);
    tree.forEachKnownFile([&](FileInode& file) {
        try {
            contents_.settle(tree, file);
        } catch (...) {
            std::string path = tree.programPathOf(file);
            if (file.sparse && errnoOfCurrentException() == ENOSPC) {
                unsettled.withHoles.push_back(std::move(path));
            } else {
                unsettled.failures.push_back(Failure::ofCurrentException(path));
            }
        }
    });
    guards_.closeStreams();
    return unsettled;
}

MountedStorage::Found MountedStorage::refer(const LockedTree& tree, TreeEntry* entry) {
    if (entry == nullptr) {
        return {};
    }
    Inode& inode = entry->inode();
    const Found found{&inode, attributes_.statusOf(tree, inode)};
    ++inode.references;
    return found;
}

} // namespace storage::host
