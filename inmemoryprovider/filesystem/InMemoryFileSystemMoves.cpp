#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
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

} // namespace

/// One folder on its way, its new node linked and some of its children perhaps moved.
struct InMemoryFileSystem::FolderMove {
    InMemoryEntryPath source;
    InMemoryEntryPath target;
    std::shared_ptr<InMemoryFolderEntry> sourceParent;
    std::shared_ptr<InMemoryFolderEntry> targetParent;
    std::shared_ptr<InMemoryFolderEntry> folder;
    InMemoryFolderEntry::Children::const_iterator nextChild;
};

void InMemoryFileSystem::moveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                       const ReplacementPolicy& policy) {
    InMemoryFolderEntry::Children::node_type replaced; // outlives the lock
    const std::lock_guard lock(mutex_);
    requireFile(*requireParent(source), source);
    const auto targetParent = requireParent(target);
    if (const auto existing = targetParent->getEntry(target)) {
        if (existing->isFolder() || refusesExistingFile(policy)) {
            throw EntryExistsException(target);
        }
        requireWritable(*existing);
        requireWritable(*targetParent);
        replaced = targetParent->takeChild(target);
    }
    try {
        moveFileEntryImpl(source, target, currentTime());
    } catch (const std::bad_alloc&) {
        targetParent->restoreChild(std::move(replaced));
        throw;
    }
}

void InMemoryFileSystem::moveFileEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                           const boost::posix_time::ptime& time) {
    const auto sourceParent = requireParent(source);
    const auto targetParent = requireParent(target);
    const auto file = requireFile(*sourceParent, source); // it may have been the one that it was to replace
    requireWritable(*sourceParent);
    requireWritable(*targetParent);

    targetParent->addChild(
        std::make_shared<InMemoryFileEntry>(target, time, file->isWritable(), file->getContent()));
    // Nothing can fail from here on.
    sourceParent->removeChild(source);
    targetParent->setLastModifiedTime(time);
    sourceParent->setLastModifiedTime(time);
}

void InMemoryFileSystem::moveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                         const ReplacementPolicy& policy) {
    InMemoryFolderEntry::Children::node_type replaced; // outlives the lock
    FolderMap::Element registration;
    const std::lock_guard lock(mutex_);
    requireFolder(*requireParent(source), source);
    const auto targetParent = requireParent(target);
    std::shared_ptr<InMemoryFolderEntry> existing;
    if (targetParent->doChildExist(target)) {
        existing = targetParent->getFolderEntry(target);
        if (refusesExistingFolder(policy) || !existing) {
            throw EntryExistsException(target);
        }
        if (!existing->empty()) {
            throw FolderNotEmptyException(target);
        }
        requireWritable(*existing);
        requireWritable(*targetParent);
    }
    requireOutside(target, source);

    if (existing) {
        replaced = targetParent->takeChild(target);
        registration = removeFolderFromFSMap(target);
    }
    try {
        moveFolderEntryImpl(source, target, currentTime());
    } catch (const std::bad_alloc&) {
        // Both change nothing when nothing was replaced, or once the moved folder has taken the place.
        targetParent->restoreChild(std::move(replaced));
        folders_.insert(std::move(registration));
        throw;
    }
}

void InMemoryFileSystem::moveFolderEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                             const boost::posix_time::ptime& time) {
    std::vector<FolderMove> moves; // from the outermost folder to the innermost, so that depth costs no stack
    beginFolderMove(moves.emplace_back(planFolderMove(source, target)), time);
    while (!moves.empty()) {
        FolderMove& move = moves.back();
        if (move.nextChild == move.folder->end()) {
            finishFolderMove(move, time);
            moves.pop_back();
            continue;
        }
        const auto child = (move.nextChild++)->second; // its move takes it out of the folder
        const auto childSource = child->getPath();
        auto childTarget = move.target;
        childTarget.append(child->getName());
        // Names that are empty can bring two children to one path.
        requireNoChild(*requireParent(childTarget), childTarget);
        if (child->isFolder()) {
            requireOutside(childTarget, childSource);
            beginFolderMove(moves.emplace_back(planFolderMove(childSource, childTarget)), time);
        } else {
            moveFileEntryImpl(childSource, childTarget, time);
        }
    }
}

InMemoryFileSystem::FolderMove InMemoryFileSystem::planFolderMove(const InMemoryEntryPath& source,
                                                                  const InMemoryEntryPath& target) const {
    FolderMove move{source, target, requireParent(source), requireParent(target), {}, {}};
    move.folder = requireFolder(*move.sourceParent, source);
    move.nextChild = move.folder->begin();
    return move;
}

void InMemoryFileSystem::beginFolderMove(FolderMove& move, const boost::posix_time::ptime& time) {
    requireWritable(*move.sourceParent);
    requireWritable(*move.folder);
    requireWritable(*move.targetParent);
    linkFolder(*move.targetParent, makeFolderEntry(move.target, time));
}

void InMemoryFileSystem::finishFolderMove(const FolderMove& move, const boost::posix_time::ptime& time) {
    move.sourceParent->removeChild(move.source);
    removeFolderFromFSMap(move.source);
    move.sourceParent->setLastModifiedTime(time);
    move.targetParent->setLastModifiedTime(time);
}

} // namespace storage::inmemoryprovider
