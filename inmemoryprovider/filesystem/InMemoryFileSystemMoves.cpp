#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

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
    std::shared_ptr<InMemoryEntry> replaced; // outlives the lock
    const std::lock_guard lock(mutex_);
    requireChild(*requireParent(source), source, EntryKind::File);
    const auto targetParent = requireParent(target);
    replaced = targetParent->getEntry(target);
    if (replaced) {
        if (replaced->isFolder() || refusesExistingFile(policy)) {
            throw EntryExistsException(target);
        }
        requireWritable(*replaced);
        requireWritable(*targetParent);
        targetParent->removeChild(target);
    }
    moveFileEntryImpl(source, target, currentTime());
}

void InMemoryFileSystem::moveFileEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                           const boost::posix_time::ptime& time) {
    const auto sourceParent = requireParent(source);
    const auto targetParent = requireParent(target);
    const auto file = sourceParent->getFileEntry(source);
    if (!file) {
        throw EntryNotFoundException(source); // the file was the one that it was to replace
    }
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
    std::shared_ptr<InMemoryFolderEntry> replaced; // outlives the lock
    const std::lock_guard lock(mutex_);
    requireChild(*requireParent(source), source, EntryKind::Folder);
    const auto targetParent = requireParent(target);
    if (targetParent->doChildExist(target)) {
        replaced = targetParent->getFolderEntry(target);
        if (refusesExistingFolder(policy) || !replaced) {
            throw EntryExistsException(target);
        }
        if (!replaced->empty()) {
            throw FolderNotEmptyException(target);
        }
        requireWritable(*replaced);
        requireWritable(*targetParent);
    }
    requireOutside(target, source);

    if (replaced) {
        targetParent->removeChild(target);
        removeFolderFromFSMap(target);
    }
    moveFolderEntryImpl(source, target, currentTime());
}

void InMemoryFileSystem::moveFolderEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                                             const boost::posix_time::ptime& time) {
    std::vector<FolderMove> moves; // from the outermost folder to the innermost, so that depth costs no stack
    moves.push_back(beginFolderMove(source, target, time));
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
            moves.push_back(beginFolderMove(childSource, childTarget, time));
        } else {
            moveFileEntryImpl(childSource, childTarget, time);
        }
    }
}

InMemoryFileSystem::FolderMove InMemoryFileSystem::beginFolderMove(const InMemoryEntryPath& source,
                                                                   const InMemoryEntryPath& target,
                                                                   const boost::posix_time::ptime& time) {
    FolderMove move{source, target, requireParent(source), requireParent(target), {}, {}};
    move.folder = move.sourceParent->getFolderEntry(source);
    requireWritable(*move.sourceParent);
    requireWritable(*move.folder);
    requireWritable(*move.targetParent);

    linkFolder(*move.targetParent, makeFolderEntry(target, time));
    move.nextChild = move.folder->begin();
    return move;
}

void InMemoryFileSystem::finishFolderMove(const FolderMove& move, const boost::posix_time::ptime& time) {
    move.sourceParent->removeChild(move.source);
    removeFolderFromFSMap(move.source);
    move.sourceParent->setLastModifiedTime(time);
    move.targetParent->setLastModifiedTime(time);
}

} // namespace storage::inmemoryprovider
