#include "host/mount/MountedStorage.h"

#include "host/disk/DiskEntry.h"
#include "host/mount/EntryName.h"
#include "host/mount/ErrnoError.h"
#include "host/mount/FolderMove.h"
#include "host/mount/KernelTime.h"
#include "host/mount/LiftedFlag.h"
#include "host/support/FileTime.h"

#include <cerrno>
#include <exception>
#include <mutex>
#include <optional>
#include <unistd.h>
#include <vector>

namespace storage::host {

using foundation::storage::provider::ReplacementPolicy;

namespace {

constexpr std::uint64_t roomOfEntry = 1024; ///< bytes, that an empty entry takes here and in a storage, about
constexpr blksize_t preferredBlockSize = 4096; ///< bytes, for programs that ask what to read at a time
constexpr std::uint64_t statusBlock = 512;     ///< bytes, the unit of st_blocks

/// As the storage keeps it.
timespec rounded(const timespec& time) {
    return toDiskTime(fromDiskTime(time));
}

bool isWithin(const Inode& inode, const Inode& folder) {
    const Inode* each = &inode;
    while (each != nullptr && each != &folder) {
        each = each->parent;
    }
    return each != nullptr;
}

/// As programs spell it, below the mount point.
std::string shownPathOf(const Inode& inode) {
    std::string path;
    for (const Inode* each = &inode; each->parent != nullptr; each = each->parent) {
        path.insert(0, '/' + programNameOf(each->name).value());
    }
    return path.substr(1);
}

/// Number and kind, which never change.
struct stat identify(const Inode& inode) {
    struct stat status {};
    status.st_ino = inode.number;
    status.st_mode = inode.isFolder() ? S_IFDIR : S_IFREG;
    return status;
}

/// Lets go of a file's rest in the end, whatever comes.
class ShedRestAfterwards {
public:
    ShedRestAfterwards(FileContents& contents, FileInode& file) : contents_(contents), file_(file) {}
    ~ShedRestAfterwards() { contents_.shedRest(file_); }
    ShedRestAfterwards(const ShedRestAfterwards&) = delete;
    ShedRestAfterwards& operator=(const ShedRestAfterwards&) = delete;

private:
    FileContents& contents_;
    FileInode& file_;
};

void requireFile(const Inode& inode) {
    if (inode.isFolder()) {
        throw ErrnoError(EISDIR);
    }
}

/// A folder that is gone has no place in the storage.
void requirePresent(const FolderInode& folder) {
    if (folder.isRemoved()) {
        throw ErrnoError(ENOENT);
    }
}

void refuseImpossibleRename(const Inode& source, const FolderInode& folder, const Inode* target) {
    if (isWithin(folder, source)) {
        throw ErrnoError(EINVAL);
    }
    if (target == nullptr || source.kind == target->kind) {
        return;
    }
    throw ErrnoError(source.isFolder() ? ENOTDIR : EISDIR);
}

} // namespace

MountedStorage::MountedStorage(const IProvider& provider)
    : provider_(provider),
      tree_(provider, guards_),
      space_(provider),
      contents_(provider, tree_, guards_, space_),
      owner_(::geteuid()),
      group_(::getegid()) {}

MountedStorage::Found MountedStorage::lookUp(FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    {
        const std::shared_lock lock(tree_.lock());
        if (InodeTree::isSettled(folder, entryName)) {
            Inode* const inode = folder.children.find(entryName);
            return inode != nullptr ? refer(*inode) : Found{};
        }
    }
    const std::unique_lock lock(tree_.lock());
    Inode* const inode = tree_.find(folder, entryName);
    return inode != nullptr ? refer(*inode) : Found{};
}

struct stat MountedStorage::status(Inode& inode) {
    const std::shared_lock lock(tree_.lock());
    return statusOf(inode);
}

struct stat MountedStorage::change(Inode& inode, const AttributeChange& change) {
    requireChangeable(change);
    if (!change.size) {
        return apply(change, inode);
    }
    requireFile(inode);
    auto& file = static_cast<FileInode&>(inode);
    contents_.prepareToGrow(file, *change.size);
    const ShedRestAfterwards shedding(contents_, file); // what was in vain, and what is too much now
    return apply(change, inode);
}

/// A size that changes is a modification.
struct stat MountedStorage::apply(const AttributeChange& change, Inode& inode) {
    const std::shared_lock lock(tree_.lock());
    auto held = guards_.hold(inode);
    tree_.loadAttributes(inode);
    EntryAttributes& attributes = inode.attributes;
    if (change.size && *change.size != attributes.size) {
        contents_.resize(static_cast<FileInode&>(inode), held, *change.size);
        setModifiedAnyway(inode, change.modified.value_or(kernelTime()));
    } else if (change.modified) {
        setModified(inode, *change.modified);
    }
    if (change.permissions) {
        setPermissions(inode, *change.permissions & permissionBits);
    }
    attributes.accessed = change.accessed.value_or(attributes.accessed);
    attributes.changed = change.changed.value_or(kernelTime());
    return show(inode);
}

MountedStorage::Found MountedStorage::makeFile(FolderInode& folder, std::string_view name,
                                               mode_t permissions) {
    return makeEntry(folder, name, Inode::Kind::File, permissions);
}

MountedStorage::Found MountedStorage::makeFolder(FolderInode& folder, std::string_view name,
                                                 mode_t permissions) {
    return makeEntry(folder, name, Inode::Kind::Folder, permissions);
}

void MountedStorage::removeFile(FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    const std::unique_lock lock(tree_.lock());
    Inode& inode = requireChild(folder, entryName, Inode::Kind::File);
    removing(inode, [&] { provider_.doRemoveFile(InodeTree::locationOf(inode)); });
    tree_.stamp(folder, kernelTime());
}

void MountedStorage::removeFolder(FolderInode& folder, std::string_view name) {
    const std::u16string entryName = storageNameOf(name);
    const std::unique_lock lock(tree_.lock());
    Inode& inode = requireChild(folder, entryName, Inode::Kind::Folder);
    removing(inode, [&] { provider_.doRemoveFolder(InodeTree::locationOf(inode)); });
    tree_.stamp(folder, kernelTime());
}

void MountedStorage::rename(FolderInode& folder, std::string_view name, FolderInode& newFolder,
                            std::string_view newName, Replacement replacement) {
    const std::u16string from = storageNameOf(name);
    std::u16string to = storageNameOf(newName);
    const std::unique_lock lock(tree_.lock());
    requirePresent(newFolder);
    Inode* const source = tree_.find(folder, from);
    Inode* const target = tree_.find(newFolder, to);
    if (source == nullptr) {
        throw ErrnoError(ENOENT);
    }
    if (target != nullptr && replacement == Replacement::Refused) {
        throw ErrnoError(EEXIST);
    }
    if (target == source) {
        return;
    }
    refuseImpossibleRename(*source, newFolder, target);
    newFolder.children.makeRoom();
    const std::uint64_t position = target != nullptr       ? target->position
                                   : &folder == &newFolder ? source->position
                                                           : newFolder.children.newPosition();
    if (target != nullptr) {
        removing(*target, [&] { move(*source, newFolder, to); });
    } else {
        move(*source, newFolder, to);
    }
    newFolder.children.moveHere(folder.children, *source, std::move(to), position);
    source->parent = &newFolder;
    const timespec time = kernelTime();
    tree_.stamp(folder, time);
    tree_.stamp(newFolder, time);
    const auto held = guards_.hold(*source);
    source->attributes.changed = time;
}

void MountedStorage::list(FolderInode& folder, std::uint64_t position, ListingDetail detail,
                          const ListingVisitor& visit) {
    const std::shared_lock lock = lockComplete(folder);
    const FolderInode& above = folder.parent != nullptr ? *folder.parent : folder;
    if ((position < 1 && !visit(".", {nullptr, identify(folder)}, 1)) ||
        (position < 2 && !visit("..", {nullptr, identify(above)}, 2))) {
        return;
    }
    bool tookAny = position < 2;
    for (Inode* child = folder.children.after(position); child != nullptr;
         child = folder.children.after(child->position)) {
        const bool isCounted = detail == ListingDetail::Attributes;
        Found entry{child, identify(*child)};
        try {
            entry.status = isCounted ? statusOf(*child) : entry.status;
        } catch (...) {
            if (tookAny) { // with references that the caller is to hear of; the next piece fails
                return;
            }
            throw;
        }
        if (!visit(programNameOf(child->name).value(), entry, child->position)) {
            return;
        }
        child->references += isCounted ? 1 : 0;
        tookAny = true;
    }
}

std::vector<std::string> MountedStorage::executables() {
    std::vector<std::string> paths;
    const std::shared_lock lock(tree_.lock());
    forEachKnownFile([&](FileInode& file) {
        if (file.attributesKnown && (file.attributes.permissions & anyExecution) != 0) {
            paths.push_back(shownPathOf(file));
        }
    });
    return paths;
}

std::vector<Failure> MountedStorage::settle() {
    std::vector<Failure> failures;
    const std::unique_lock lock(tree_.lock());
    forEachKnownFile([&](FileInode& file) {
        try {
            contents_.settle(file);
        } catch (...) {
            failures.push_back(Failure::ofCurrentException(shownPathOf(file)));
        }
    });
    guards_.closeStreams();
    return failures;
}

/// Needs the tree's lock, shared.
template <typename Visit>
void MountedStorage::forEachKnownFile(const Visit& visit) {
    std::vector<const FolderInode*> folders{&tree_.root()};
    while (!folders.empty()) {
        const FolderInode& folder = *folders.back();
        folders.pop_back();
        folder.children.forEach([&](Inode& child) {
            if (child.isFolder()) {
                folders.push_back(&static_cast<FolderInode&>(child));
            } else {
                visit(static_cast<FileInode&>(child));
            }
        });
    }
}

/// The tree's lock, shared, with all children of the folder known.
std::shared_lock<std::shared_mutex> MountedStorage::lockComplete(FolderInode& folder) {
    std::shared_lock lock(tree_.lock());
    while (!folder.childrenComplete && !folder.isRemoved()) {
        lock.unlock();
        {
            const std::unique_lock alone(tree_.lock());
            tree_.complete(folder);
        }
        lock.lock();
    }
    return lock;
}

MountedStorage::Found MountedStorage::makeEntry(FolderInode& folder, std::string_view name, Inode::Kind kind,
                                                mode_t permissions) {
    std::u16string entryName = storageNameOf(name);
    const std::unique_lock lock(tree_.lock());
    requirePresent(folder);
    if (tree_.find(folder, entryName) != nullptr) {
        throw ErrnoError(EEXIST);
    }
    space_.require(roomOfEntry);
    Inode& inode = tree_.add(folder, kind, std::move(entryName));
    try {
        createIn(folder, inode, permissions);
    } catch (...) {
        InodeTree::discard(inode);
        throw;
    }
    return refer(inode);
}

void MountedStorage::createIn(FolderInode& folder, Inode& inode, mode_t permissions) {
    tree_.requireAttributes(folder);
    const LiftedFlag writable(provider_, InodeTree::locationOf(folder), folder);
    const StorageIRI location = InodeTree::locationOf(inode);
    if (inode.isFolder()) {
        provider_.doCreateFolder(location);
        static_cast<FolderInode&>(inode).childrenComplete = true;
    } else {
        provider_.doCreateFile(location);
    }
    const timespec time = kernelTime();
    inode.attributes = {permissions & permissionBits, 0, time, time, time};
    inode.attributesKnown = true;
    try {
        provider_.doSetLastModified(location, fromDiskTime(time));
        if (!inode.attributes.isWritable()) {
            provider_.doSetWritable(location, false);
        }
    } catch (...) {
        inode.isFolder() ? provider_.doRemoveFolder(location) : provider_.doRemoveFile(location);
        throw;
    }
    tree_.stamp(folder, time);
}

Inode& MountedStorage::requireChild(FolderInode& folder, const std::u16string& name, Inode::Kind kind) {
    Inode* const inode = tree_.find(folder, name);
    if (inode == nullptr) {
        throw ErrnoError(ENOENT);
    }
    if (inode->kind != kind) {
        throw ErrnoError(inode->isFolder() ? EISDIR : ENOTDIR);
    }
    return *inode;
}

MountedStorage::Found MountedStorage::refer(Inode& inode) {
    const Found found{&inode, statusOf(inode)};
    ++inode.references;
    return found;
}

struct stat MountedStorage::statusOf(Inode& inode) {
    const auto held = guards_.hold(inode);
    tree_.loadAttributes(inode);
    return show(inode);
}

/// A folder says of its links what file systems say that do not count them.
struct stat MountedStorage::show(const Inode& inode) const {
    const EntryAttributes& attributes = inode.attributes;
    struct stat status = identify(inode);
    status.st_mode |= attributes.permissions;
    status.st_nlink = inode.isRemoved() ? 0 : 1;
    status.st_uid = owner_;
    status.st_gid = group_;
    status.st_size = static_cast<off_t>(attributes.size);
    status.st_blksize = preferredBlockSize;
    status.st_blocks = static_cast<blkcnt_t>((attributes.size + statusBlock - 1) / statusBlock);
    status.st_mtim = attributes.modified;
    status.st_atim = attributes.accessed;
    status.st_ctim = attributes.changed;
    return status;
}

/// Runs the step that makes the storage remove an entry, and removes it here too.
template <typename Step>
void MountedStorage::removing(Inode& inode, const Step& step) {
    FolderInode& folder = *inode.parent;
    tree_.requireAttributes(folder);
    tree_.requireAttributes(inode);
    auto place = InodeTree::prepareRemoval(inode);
    KeptContent content(contents_, inode); // first: it may lift the inode's flag, and restore it
    const LiftedFlag folderWritable(provider_, InodeTree::locationOf(folder), folder);
    LiftedFlag writable(provider_, InodeTree::locationOf(inode), inode);
    std::exception_ptr failure;
    try {
        step();
    } catch (...) {
        failure = std::current_exception();
        if (provider_.doExists(InodeTree::locationOf(inode))) {
            throw;
        } // else it is gone all the same, as a move may leave it
    }
    content.keep();
    writable.release();
    tree_.remove(inode, std::move(place));
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Moves what the storage has. Both folders keep their flags, the entry keeps its time.
void MountedStorage::move(Inode& source, FolderInode& folder, const std::u16string& name) {
    FolderInode& oldFolder = *source.parent;
    tree_.requireAttributes(source);
    tree_.requireAttributes(oldFolder);
    tree_.requireAttributes(folder);
    const StorageIRI destination = InodeTree::locationOf(folder, name);
    const LiftedFlag oldWritable(provider_, InodeTree::locationOf(oldFolder), oldFolder);
    const LiftedFlag newWritable(provider_, InodeTree::locationOf(folder), folder);
    if (source.isFolder()) {
        guards_.closeStreams(); // what a stream does when folders above it move is every storage's own
        FolderMove(provider_, InodeTree::locationOf(source), destination).run();
    } else {
        moveFile(static_cast<FileInode&>(source), destination);
    }
}

void MountedStorage::moveFile(FileInode& file, const StorageIRI& destination) {
    {
        auto held = guards_.hold(file);
        held.closeStreamOf(file);
    }
    provider_.doMoveFile(InodeTree::locationOf(file), destination, ReplacementPolicy::ReplaceExisting);
    try {
        provider_.doSetLastModified(destination, fromDiskTime(file.attributes.modified));
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The file has moved, so the rename must not fail any more.
    }
}

void MountedStorage::setModified(Inode& inode, const timespec& time) const {
    if (!inode.isRemoved()) {
        provider_.doSetLastModified(InodeTree::locationOf(inode), fromDiskTime(time));
    }
    inode.attributes.modified = rounded(time);
}

/// After what cannot be undone: a storage that does not take the time gets it in the end.
void MountedStorage::setModifiedAnyway(Inode& inode, const timespec& time) const noexcept {
    try {
        setModified(inode, time);
    } catch (...) {
        inode.attributes.modified = rounded(time);
    }
}

void MountedStorage::setPermissions(Inode& inode, mode_t permissions) const {
    EntryAttributes changed = inode.attributes;
    changed.permissions = permissions;
    if (changed.isWritable() != inode.attributes.isWritable() && !inode.isRemoved()) {
        provider_.doSetWritable(InodeTree::locationOf(inode), changed.isWritable());
    }
    inode.attributes = changed;
}

void MountedStorage::requireChangeable(const AttributeChange& change) const {
    if (change.owner.value_or(owner_) != owner_ || change.group.value_or(group_) != group_) {
        throw ErrnoError(EPERM);
    }
}

} // namespace storage::host
