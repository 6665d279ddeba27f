#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

#include <new>
#include <utility>
#include <vector>

namespace storage::inmemoryprovider {

using provider::ReplacementPolicy;

namespace {

bool refusesExistingFile(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting || policy == ReplacementPolicy::RefuseExistingFile;
}

bool refusesExistingFolder(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting;
}

/// Moving a folder to a path below it would not terminate; moving it onto itself would lose it.
void requireOutside(const InMemoryEntryPath& target, const InMemoryEntryPath& source) {
    if (target.isWithin(source)) {
        throw EntryExistsException(target);
    }
}

/// Unlike a file, a folder must be writable to be moved.
void requireMovable(const InMemoryFolderEntry& parent, const InMemoryEntry& folder) {
    requireWritable(parent);
    requireWritable(folder);
}

/// The node that replaces a moved file: it has the same flag and shares the bytes and their mutex.
std::shared_ptr<InMemoryFileEntry> makeSuccessor(InMemoryEntry& entry, InMemoryEntryPath&& path,
                                                 const boost::posix_time::ptime& time) {
    auto& file = static_cast<InMemoryFileEntry&>(entry);
    return std::make_shared<InMemoryFileEntry>(std::move(path), time, file.isWritable(), file.getContent(),
                                               file.getMutex());
}

} // namespace

/// A running move of one folder. Some of its children may have been moved already. Everything that this
/// object points to stays in the tree until the move ends.
struct InMemoryFileSystem::FolderMove {
    InMemoryEntryPath source;
    InMemoryEntryPath target;
    InMemoryFolderEntry* sourceParent;
    InMemoryFolderEntry* targetParent;
    Child place; ///< of the folder among its old parent's children
    Child nextChild;
    Child lastChild; ///< the end iterator, which removals do not invalidate
    InMemoryFolderEntry* newFolder = nullptr;
};

void InMemoryFileSystem::moveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                       const ReplacementPolicy& policy) {
    repeatWhileBusy([&] { return tryMoveFileEntry(source, target, policy); });
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryMoveFileEntry(const InMemoryEntryPath& source,
                                                              const InMemoryEntryPath& target,
                                                              const ReplacementPolicy& policy) {
    InMemoryFolderEntry::Children::node_type replaced; // both outlive the lock
    std::shared_ptr<InMemoryEntry> old;
    const SpinThenBlockLock lock(mutex_);
    const auto& sourceParent = requireParent(source);
    const auto file = requireFile(*sourceParent, source.view());
    const auto& targetParent = requireParent(target);
    const auto existing = targetParent->findChild(target);
    if (existing) {
        if ((*existing)->second->isFolder() || refusesExistingFile(policy)) {
            throw EntryExistsException(target);
        }
        requireWritable(*(*existing)->second);
        requireWritable(*targetParent);
    }

    const PathSeqLock::Change change(changes_, source, target);
    if (!sourceParent->mutexIsFree()) {
        return sourceParent;
    }
    if (targetParent != sourceParent && !targetParent->mutexIsFree()) {
        return targetParent;
    }
    const bool isOntoItself = existing && (*existing)->second == file->second;
    if (existing) {
        replaced = targetParent->takeChild(*existing);
    }
    if (isOntoItself) {
        throw EntryNotFoundException(source);
    }
    try {
        old = moveFileEntryImpl(*sourceParent, file, *targetParent, InMemoryEntryPath(target), currentTime());
    } catch (const std::bad_alloc&) {
        targetParent->putChild(std::move(replaced));
        throw;
    }
    return nullptr;
}

std::shared_ptr<InMemoryEntry> InMemoryFileSystem::moveFileEntryImpl(InMemoryFolderEntry& sourceParent,
                                                                     Child file,
                                                                     InMemoryFolderEntry& targetParent,
                                                                     InMemoryEntryPath&& target,
                                                                     const boost::posix_time::ptime& time) {
    requireWritable(sourceParent);
    requireWritable(targetParent);

    std::shared_ptr<InMemoryEntry> entry = makeSuccessor(*file->second, std::move(target), time);
    if (&sourceParent == &targetParent && file->first.view() == entry->path().view()) {
        throw EntryExistsException(entry->path()); // with empty names, a child's new path can be its old one
    }
    auto child = sourceParent.takeChild(file);
    try {
        child.key() = entry->path(); // usually within the old key's capacity
    } catch (const std::bad_alloc&) {
        sourceParent.putChild(std::move(child));
        throw;
    }
    // No allocation from here on.
    child.mapped().swap(entry);
    child = targetParent.putChild(std::move(child));
    if (child) { // the new path is taken
        child.mapped().swap(entry);
        child.key() = child.mapped()->path(); // cannot throw: within the key's capacity
        sourceParent.putChild(std::move(child));
        throw EntryExistsException(entry->path());
    }
    targetParent.setLastModifiedTime(time);
    sourceParent.setLastModifiedTime(time);
    return entry;
}

void InMemoryFileSystem::moveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                         const ReplacementPolicy& policy) {
    repeatWhileBusy([&] { return tryMoveFolderEntry(source, target, policy); });
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryMoveFolderEntry(const InMemoryEntryPath& source,
                                                                const InMemoryEntryPath& target,
                                                                const ReplacementPolicy& policy) {
    InMemoryFolderEntry::Children::node_type replaced; // both outlive the lock
    FolderMap::Element registration;
    const SpinThenBlockLock lock(mutex_);
    const auto sourceParent = requireParent(source);
    requireFolder(*sourceParent, source);
    const auto targetParent = requireParent(target);
    const auto existing = targetParent->findChild(target);
    if (existing) {
        if (refusesExistingFolder(policy) || !(*existing)->second->isFolder()) {
            throw EntryExistsException(target);
        }
        if (folderOf(**existing).hasChildren()) {
            throw FolderNotEmptyException(target);
        }
        requireWritable(*(*existing)->second);
        requireWritable(*targetParent);
    }
    requireOutside(target, source);

    const PathSeqLock::Change change(changes_, source, target);
    if (auto busy = findBusyFolder(sourceParent, targetParent, source)) {
        return busy;
    }
    if (existing) {
        replaced = targetParent->takeChild(*existing);
        registration = removeFolderFromFSMap(target);
    }
    try {
        moveFolderEntryImpl(source, target, currentTime());
    } catch (const std::bad_alloc&) {
        // Neither call has an effect if nothing was replaced or if the moved folder has taken the place.
        targetParent->putChild(std::move(replaced));
        folders_.insert(std::move(registration));
        throw;
    }
    return nullptr;
}

InMemoryFileSystem::Busy
InMemoryFileSystem::findBusyFolder(const std::shared_ptr<InMemoryFolderEntry>& sourceParent,
                                   const std::shared_ptr<InMemoryFolderEntry>& targetParent,
                                   const InMemoryEntryPath& source) const {
    for (const auto* folder : {&sourceParent, &targetParent, doGetFolderEntry(source.view())}) {
        if (!(*folder)->mutexIsFree()) {
            return *folder;
        }
    }
    const std::u16string below = source.string() + u"/"; // the prefix of all paths below `source`
    Busy busy;
    folders_.visitFromAsWriter(std::u16string_view(below),
                               [&](const InMemoryEntryPath& path, const auto& folder) {
                                   const bool isBelow = path.view().starts_with(below);
                                   if (isBelow && !folder->mutexIsFree()) {
                                       busy = folder;
                                   }
                                   return isBelow && !busy;
                               });
    return busy;
}

void InMemoryFileSystem::moveFolderEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                             const boost::posix_time::ptime& time) {
    std::vector<FolderMove> moves; // a stack, outermost folder first: no recursion
    auto& sourceParent = *requireParent(source);
    auto& targetParent = *requireParent(target);
    requireMovable(sourceParent, *requireFolder(sourceParent, source)->second);
    requireWritable(targetParent);
    beginFolderMove(moves.emplace_back(planFolderMove(sourceParent, source, targetParent, target)), time);
    while (!moves.empty()) {
        FolderMove& move = moves.back();
        if (move.nextChild == move.lastChild) {
            finishFolderMove(move, time);
            moves.pop_back();
            continue;
        }
        const auto child = move.nextChild++; // advanced first: moving the child removes it
        auto childTarget = move.target.appended(child->first.filenameView());
        auto& folder = folderOf(*move.place);
        if (child->second->isFolder()) {
            requireMovable(folder, *child->second);
            auto& childParent = newParentOf(childTarget, move);
            requireWritable(childParent);
            requireNoChild(childParent, childTarget);
            requireOutside(childTarget, child->first);
            beginFolderMove(
                moves.emplace_back(planFolderMove(folder, child->first, childParent, childTarget)), time);
        } else {
            auto& childParent = newParentOf(childTarget, move);
            moveFileEntryImpl(folder, child, childParent, std::move(childTarget), time);
        }
    }
}

InMemoryFileSystem::FolderMove InMemoryFileSystem::planFolderMove(InMemoryFolderEntry& sourceParent,
                                                                  const InMemoryEntryPath& source,
                                                                  InMemoryFolderEntry& targetParent,
                                                                  const InMemoryEntryPath& target) {
    const auto place = requireFolder(sourceParent, source);
    const auto& folder = folderOf(*place);
    return {source, target, &sourceParent, &targetParent, place, folder.begin(), folder.end()};
}

InMemoryFolderEntry& InMemoryFileSystem::newParentOf(const InMemoryEntryPath& childTarget,
                                                     const FolderMove& move) const {
    if (childTarget.parentView() == move.target.view()) {
        return *move.newFolder;
    }
    return *requireParent(childTarget); // an empty name can change the parent
}

void InMemoryFileSystem::beginFolderMove(FolderMove& move, const boost::posix_time::ptime& time) {
    const auto folder = makeFolderEntry(move.target, time);
    linkFolder(*move.targetParent, folder);
    move.newFolder = folder.get();
    folder->expectChildren(folderOf(*move.place).expectEmptying());
}

void InMemoryFileSystem::finishFolderMove(const FolderMove& move, const boost::posix_time::ptime& time) {
    move.sourceParent->takeChild(move.place);
    removeFolderFromFSMap(move.source);
    move.sourceParent->setLastModifiedTime(time);
    move.targetParent->setLastModifiedTime(time);
}

} // namespace storage::inmemoryprovider
