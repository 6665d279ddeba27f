#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryFileSystem::InMemoryFileSystem() {
    createRootEntry();
}

void InMemoryFileSystem::createRootEntry() {
    const std::lock_guard lock(mutex_);
    addFolderToFSMap(makeFolderEntry(InMemoryEntryPath(u"/"), currentTime()));
}

void InMemoryFileSystem::addFolderEntry(const InMemoryEntryPath& path) {
    const std::lock_guard lock(mutex_);
    if (!path.hasParent()) {
        throw EntryExistsException(path);
    }
    const auto parent = requireParent(path);
    requireNoChild(*parent, path);
    requireWritable(*parent);

    const auto now = currentTime();
    linkFolder(*parent, makeFolderEntry(path, now));
    parent->setLastModifiedTime(now);
}

void InMemoryFileSystem::addFileEntry(const InMemoryEntryPath& path) {
    const std::lock_guard lock(mutex_);
    const auto parent = requireParent(path);
    requireNoChild(*parent, path);
    requireWritable(*parent);

    const auto now = currentTime();
    parent->addChild(makeFileEntry(path, now));
    parent->setLastModifiedTime(now);
}

void InMemoryFileSystem::removeFileEntry(const InMemoryEntryPath& path) {
    std::shared_ptr<InMemoryFileEntry> removed; // outlives the lock
    const std::lock_guard lock(mutex_);
    const auto parent = requireParent(path);
    removed = requireFile(*parent, path);
    requireWritable(*parent);
    requireWritable(*removed);

    parent->removeChild(path);
    parent->setLastModifiedTime(currentTime());
}

void InMemoryFileSystem::removeFolderEntry(const InMemoryEntryPath& path) {
    std::shared_ptr<InMemoryFolderEntry> removed; // outlives the lock
    const std::lock_guard lock(mutex_);
    const auto parent = requireParent(path);
    removed = requireFolder(*parent, path);
    if (!removed->empty()) {
        throw FolderNotEmptyException(path);
    }
    requireWritable(*parent);
    requireWritable(*removed);

    parent->removeChild(path);
    removeFolderFromFSMap(path);
    parent->setLastModifiedTime(currentTime());
}

std::uint64_t InMemoryFileSystem::getFileEntrySize(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return requireFile(*requireParent(path), path)->getFileSize();
}

boost::posix_time::ptime InMemoryFileSystem::getFileEntryLastModified(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return requireFile(*requireParent(path), path)->getLastModifiedTime();
}

boost::posix_time::ptime InMemoryFileSystem::getFolderEntryLastModified(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return requireFolder(*requireParent(path), path)->getLastModifiedTime();
}

bool InMemoryFileSystem::fileIsWritable(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return requireFile(*requireParent(path), path)->isWritable();
}

bool InMemoryFileSystem::folderIsWritable(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return requireFolder(*requireParent(path), path)->isWritable();
}

std::shared_ptr<InMemoryFolderEntry> InMemoryFileSystem::getFolderEntry(const InMemoryEntryPath& path) const {
    return folders_.find(path);
}

std::shared_ptr<InMemoryFolderEntry>
InMemoryFileSystem::doGetFolderEntry(const InMemoryEntryPath& path) const {
    return folders_.findAsWriter(path);
}

void InMemoryFileSystem::addFolderToFSMap(const std::shared_ptr<InMemoryFolderEntry>& folder) {
    folders_.insert(FolderMap::prepare(folder->path(), folder));
}

InMemoryFileSystem::FolderMap::Element
InMemoryFileSystem::removeFolderFromFSMap(const InMemoryEntryPath& path) {
    return folders_.erase(path);
}

void InMemoryFileSystem::linkFolder(InMemoryFolderEntry& parent,
                                    const std::shared_ptr<InMemoryFolderEntry>& folder) {
    auto registration = FolderMap::prepare(folder->path(), folder);
    parent.addChild(folder);
    // Nothing can fail from here on.
    folders_.insert(std::move(registration));
}

std::shared_ptr<InMemoryFolderEntry> InMemoryFileSystem::requireParent(const InMemoryEntryPath& path) const {
    const auto parentPath = path.parentPath();
    auto parent = doGetFolderEntry(parentPath);
    if (!parent) {
        throw EntryNotFoundException(parentPath);
    }
    return parent;
}

} // namespace storage::inmemoryprovider
