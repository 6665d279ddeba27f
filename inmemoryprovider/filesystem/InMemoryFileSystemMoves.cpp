#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

#include <new>
#include <utility>
#include <vector>

namespace storage::inmemoryprovider {

using foundation::storage::provider::ReplacementPolicy;

namespace {

bool refusesExistingFile(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting || policy == ReplacementPolicy::RefuseExistingFile;
}

bool refusesExistingFolder(ReplacementPolicy policy) {
    return policy == ReplacementPolicy::RefuseExisting;
}

/// A folder below itself would be moved without end, and one onto itself be lost.
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

/// What takes the place of a file in the tree: a new node of the same flag that shares the bytes and their mutex.
std::shared_ptr<InMemoryFileEntry> makeSuccessor(InMemoryEntry& entry, InMemoryEntryPath&& path,
                                                 const boost::posix_time::ptime& time) {
    auto& file = static_cast<InMemoryFileEntry&>(entry);
    return std::make_shared<InMemoryFileEntry>(std::move(path), time, file.isWritable(), file.getContent(),
                                               file.getMutex());
}

} // namespace

/// One folder on its way, its new node linked and some of its children perhaps moved. All that it points to stays in the
/// tree until the folder has been moved.
struct InMemoryFileSystem::FolderMove {
    InMemoryEntryPath source;
    InMemoryEntryPath target;
    InMemoryFolderEntry* sourceParent;
    InMemoryFolderEntry* targetParent;
    Child place; ///< of the folder in its old parent
    Child nextChild;
    Child lastChild; ///< the end, which stays the same whatever is taken out
    InMemoryFolderEntry* newFolder = nullptr;
};

void InMemoryFileSystem::moveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                       const ReplacementPolicy& policy) {
    InMemoryFolderEntry::Children::node_type replaced; // outlives the lock
    const SpinThenBlockLock lock(mutex_);
    requireFile(requireParent(source), source);
    auto& targetParent = requireParent(target);
    const auto existing = targetParent.findChild(target);
    if (existing) {
        if ((*existing)->second->isFolder() || refusesExistingFile(policy)) {
            throw EntryExistsException(target);
        }
        requireWritable(*(*existing)->second);
        requireWritable(targetParent);
    }

    const PathSeqLock::Change change(changes_, source, target);
    if (existing) {
        replaced = targetParent.takeChild(*existing);
    }
    try {
        moveFileEntryImpl(source, target, currentTime());
    } catch (const std::bad_alloc&) {
        targetParent.putChild(std::move(replaced));
        throw;
    }
}

void InMemoryFileSystem::moveFileEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                           const boost::posix_time::ptime& time) {
    auto& sourceParent = requireParent(source);
    auto& targetParent = requireParent(target);
    const auto file = requireFile(sourceParent, source); // it may have been the one that it was to replace
    InMemoryFolderEntry::Children::node_type old;
    relinkFile(sourceParent, file, targetParent, InMemoryEntryPath(target), time, old);
}

void InMemoryFileSystem::relinkFile(InMemoryFolderEntry& sourceParent, Child file,
                                    InMemoryFolderEntry& targetParent, InMemoryEntryPath&& target,
                                    const boost::posix_time::ptime& time,
                                    InMemoryFolderEntry::Children::node_type& spare) {
    requireWritable(sourceParent);
    requireWritable(targetParent);

    auto moved = makeSuccessor(*file->second, std::move(target), time);
    if (spare) {
        spare.key() = moved->path();
        spare.mapped() = std::move(moved);
    } else {
        spare = InMemoryFolderEntry::makeChild(std::move(moved));
    }
    spare = targetParent.putChild(std::move(spare));
    if (spare) {
        throw EntryExistsException(spare.key());
    }
    // Nothing can fail from here on.
    spare = sourceParent.takeChild(file);
    targetParent.setLastModifiedTime(time);
    sourceParent.setLastModifiedTime(time);
}

void InMemoryFileSystem::moveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                         const ReplacementPolicy& policy) {
    InMemoryFolderEntry::Children::node_type replaced; // outlives the lock
    FolderMap::Element registration;
    const SpinThenBlockLock lock(mutex_);
    requireFolder(requireParent(source), source);
    auto& targetParent = requireParent(target);
    const auto existing = targetParent.findChild(target);
    if (existing) {
        if (refusesExistingFolder(policy) || !(*existing)->second->isFolder()) {
            throw EntryExistsException(target);
        }
        if (!folderOf(**existing).empty()) {
            throw FolderNotEmptyException(target);
        }
        requireWritable(*(*existing)->second);
        requireWritable(targetParent);
    }
    requireOutside(target, source);

    const PathSeqLock::Change change(changes_, source, target);
    if (existing) {
        replaced = targetParent.takeChild(*existing);
        registration = removeFolderFromFSMap(target);
    }
    try {
        moveFolderEntryImpl(source, target, currentTime());
    } catch (const std::bad_alloc&) {
        // Both change nothing when nothing was replaced, or once the moved folder has taken the place.
        targetParent.putChild(std::move(replaced));
        folders_.insert(std::move(registration));
        throw;
    }
}

void InMemoryFileSystem::moveFolderEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                             const boost::posix_time::ptime& time) {
    std::vector<FolderMove> moves; // from the outermost folder to the innermost, so that depth costs no stack
    // What held one file in its old folder holds the next one in its new folder.
    InMemoryFolderEntry::Children::node_type spare;
    auto& sourceParent = requireParent(source);
    auto& targetParent = requireParent(target);
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
        const auto child = move.nextChild++; // its move takes it out of the folder
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
            relinkFile(folder, child, childParent, std::move(childTarget), time, spare);
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
    return requireParent(childTarget); // an empty name can bring a child to another folder
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
