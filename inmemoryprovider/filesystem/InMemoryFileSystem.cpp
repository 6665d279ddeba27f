#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryFileSystem::InMemoryFileSystem() {
    createRootEntry();
}

void InMemoryFileSystem::createRootEntry() {
    const SpinThenBlockLock lock(mutex_);
    addFolderToFSMap(makeFolderEntry(InMemoryEntryPath(u"/"), currentTime()));
}

void InMemoryFileSystem::addFolderEntry(const InMemoryEntryPath& path) {
    const SpinThenBlockLock lock(mutex_);
    if (!path.hasParent()) {
        throw EntryExistsException(path);
    }
    auto& parent = requireParent(path);
    requireNoChild(parent, path);
    requireWritable(parent);

    const auto now = currentTime();
    linkFolder(parent, makeFolderEntry(path, now));
    parent.setLastModifiedTime(now);
}

void InMemoryFileSystem::addFileEntry(InMemoryEntryPath&& path) {
    const SpinThenBlockLock lock(mutex_);
    auto& parent = requireParent(path);
    requireNoChild(parent, path);
    requireWritable(parent);

    const auto now = currentTime();
    parent.addChild(makeFileEntry(std::move(path), now));
    parent.setLastModifiedTime(now);
}

void InMemoryFileSystem::removeFileEntry(const InMemoryEntryPath& path) {
    InMemoryFolderEntry::Children::node_type removed; // outlives the lock
    const SpinThenBlockLock lock(mutex_);
    auto& parent = requireParent(path);
    const auto file = requireFile(parent, path);
    requireWritable(parent);
    requireWritable(*file->second);

    removed = parent.takeChild(file);
    parent.setLastModifiedTime(currentTime());
}

void InMemoryFileSystem::removeFolderEntry(const InMemoryEntryPath& path) {
    InMemoryFolderEntry::Children::node_type removed; // outlives the lock
    const SpinThenBlockLock lock(mutex_);
    auto& parent = requireParent(path);
    const auto folder = requireFolder(parent, path);
    if (!folderOf(*folder).empty()) {
        throw FolderNotEmptyException(path);
    }
    requireWritable(parent);
    requireWritable(*folder->second);

    removed = parent.takeChild(folder);
    removeFolderFromFSMap(path);
    parent.setLastModifiedTime(currentTime());
}

FileEntryAttributes InMemoryFileSystem::getFileEntryAttributes(const InMemoryEntryPath& path) const {
    const auto file = findFile(path);
    return {file->getFileSize(), file->getLastModifiedTime(), file->isWritable()};
}

std::uint64_t InMemoryFileSystem::getFileEntrySize(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return fileOf(*requireFile(requireParent(path), path)).getFileSize();
}

boost::posix_time::ptime InMemoryFileSystem::getFileEntryLastModified(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFile(requireParent(path), path)->second->getLastModifiedTime();
}

boost::posix_time::ptime InMemoryFileSystem::getFolderEntryLastModified(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFolder(requireParent(path), path)->second->getLastModifiedTime();
}

bool InMemoryFileSystem::fileIsWritable(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFile(requireParent(path), path)->second->isWritable();
}

bool InMemoryFileSystem::folderIsWritable(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFolder(requireParent(path), path)->second->isWritable();
}

std::shared_ptr<InMemoryFolderEntry> InMemoryFileSystem::getFolderEntry(const InMemoryEntryPath& path) const {
    return folders_.find(path.view());
}

std::shared_ptr<InMemoryEntry> InMemoryFileSystem::getEntry(std::u16string_view path) const noexcept {
    return folders_.visit(InMemoryEntryPath::parentOf(path),
                          [&](const std::shared_ptr<InMemoryFolderEntry>* parent) {
                              return parent == nullptr ? nullptr : (*parent)->getEntry(path);
                          });
}

std::shared_ptr<InMemoryFileEntry> InMemoryFileSystem::findFile(const InMemoryEntryPath& path) const {
    // Without the mutex at first, so that those who ask and those who change the tree do not get in each other's way.
    const auto start = moves_.start();
    auto entry = getEntry(path.view());
    if (!entry || entry->isFolder() || !moves_.undisturbedSince(start)) {
        entry.reset();
        const SpinThenBlockLock lock(mutex_);
        entry = requireFile(requireParent(path), path)->second;
    }
    return std::static_pointer_cast<InMemoryFileEntry>(std::move(entry));
}

InMemoryFolderEntry* InMemoryFileSystem::doGetFolderEntry(std::u16string_view path) const noexcept {
    const auto* folder = folders_.findAsWriter(path);
    return folder == nullptr ? nullptr : folder->get();
}

void InMemoryFileSystem::addFolderToFSMap(const std::shared_ptr<InMemoryFolderEntry>& folder) {
    folders_.insert(FolderMap::prepare(folder->path(), folder));
}

InMemoryFileSystem::FolderMap::Element
InMemoryFileSystem::removeFolderFromFSMap(const InMemoryEntryPath& path) {
    return folders_.erase(path.view());
}

void InMemoryFileSystem::linkFolder(InMemoryFolderEntry& parent,
                                    const std::shared_ptr<InMemoryFolderEntry>& folder) {
    auto registration = FolderMap::prepare(folder->path(), folder);
    parent.addChild(folder);
    // Nothing can fail from here on.
    folders_.insert(std::move(registration));
}

InMemoryFolderEntry& InMemoryFileSystem::requireParent(const InMemoryEntryPath& path) const {
    auto* parent = doGetFolderEntry(path.parentView());
    if (parent == nullptr) {
        throw EntryNotFoundException(path.parentPath());
    }
    return *parent;
}

} // namespace storage::inmemoryprovider
