#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/FolderNotEmptyException.h"
#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"
#include "inmemoryprovider/filesystem/TreeRules.h"

#include <utility>

namespace storage::inmemoryprovider {

namespace {

/// @throws EntryNotFoundException  naming the parent of `path` if it is missing, otherwise `path`
void requireFound(bool hasParent, bool hasEntry, std::u16string_view path) {
    if (!hasEntry) {
        throw EntryNotFoundException(
            InMemoryEntryPath::ofNormalText(hasParent ? path : InMemoryEntryPath::parentOf(path)));
    }
}

} // namespace

InMemoryFileSystem::InMemoryFileSystem() {
    createRootEntry();
}

void InMemoryFileSystem::createRootEntry() {
    const SpinThenBlockLock lock(mutex_);
    addFolderToFSMap(makeFolderEntry(InMemoryEntryPath(u"/"), currentTime()));
}

void InMemoryFileSystem::waitUntilMutexIsFree(const InMemoryEntry& node) {
    if (node.isFolder()) {
        static_cast<const InMemoryFolderEntry&>(node).waitUntilMutexIsFree();
    } else {
        static_cast<const InMemoryFileEntry&>(node).waitUntilMutexIsFree();
    }
}

void InMemoryFileSystem::addFolderEntry(const InMemoryEntryPath& path) {
    repeatWhileBusy([&] { return tryAddFolderEntry(path); });
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryAddFolderEntry(const InMemoryEntryPath& path) {
    const SpinThenBlockLock lock(mutex_);
    if (!path.hasParent()) {
        throw EntryExistsException(path);
    }
    auto parent = requireParent(path);
    requireNoChild(*parent, path);
    requireWritable(*parent);

    const PathSeqLock::Change change(changes_, path); // the parent's children and the folder map
    if (!parent->mutexIsFree()) {
        return parent;
    }
    const auto now = currentTime();
    linkFolder(*parent, makeFolderEntry(path, now));
    parent->setLastModifiedTime(now);
    return nullptr;
}

void InMemoryFileSystem::addFileEntry(InMemoryEntryPath&& path) {
    repeatWhileBusy([&] { return tryAddFileEntry(path); });
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryAddFileEntry(InMemoryEntryPath& path) {
    const SpinThenBlockLock lock(mutex_);
    const auto& parent = requireParent(path);
    requireNoChild(*parent, path);
    requireWritable(*parent);

    const auto now = currentTime();
    std::shared_ptr<InMemoryEntry> file = makeFileEntry(std::move(path), now);
    if (!parent->tryAddChild(std::move(file), now)) {
        path = file->getPath(); // NOLINT(bugprone-use-after-move): not moved from on failure
        return parent;
    }
    return nullptr;
}

void InMemoryFileSystem::removeFileEntry(std::u16string_view path) {
    repeatWhileBusy([&] { return tryRemoveFileEntry(path); });
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryRemoveFileEntry(std::u16string_view path) {
    InMemoryFolderEntry::Children::node_type removed; // outlives the lock
    const SpinThenBlockLock lock(mutex_);
    const auto& parent = requireParent(path);
    const auto file = requireFile(*parent, path);
    requireWritable(*parent);
    requireWritable(*file->second);

    removed = parent->tryTakeChild(file, currentTime);
    return removed ? nullptr : parent;
}

void InMemoryFileSystem::removeFolderEntry(const InMemoryEntryPath& path) {
    repeatWhileBusy([&] { return tryRemoveFolderEntry(path); });
}

InMemoryFileSystem::Busy InMemoryFileSystem::tryRemoveFolderEntry(const InMemoryEntryPath& path) {
    InMemoryFolderEntry::Children::node_type removed; // both outlive the lock
    FolderMap::Element registration;
    const SpinThenBlockLock lock(mutex_);
    auto parent = requireParent(path);
    const auto folder = requireFolder(*parent, path);
    if (folderOf(*folder).hasChildren()) {
        throw FolderNotEmptyException(path);
    }
    requireWritable(*parent);
    requireWritable(*folder->second);

    const PathSeqLock::Change change(changes_, path); // the parent's children and the folder map
    if (!parent->mutexIsFree()) {
        return parent;
    }
    removed = parent->takeChild(folder);
    registration = removeFolderFromFSMap(path);
    parent->setLastModifiedTime(currentTime());
    return nullptr;
}

FileEntryAttributes InMemoryFileSystem::getFileEntryAttributes(std::u16string_view path) const {
    const auto file = findFile(path);
    return {file->getFileSize(), file->getLastModifiedTime(), file->isWritable()};
}

FolderEntryAttributes InMemoryFileSystem::getFolderEntryAttributes(std::u16string_view path) const {
    std::optional<FolderEntryAttributes> attributes;
    // Read under the mutex of the parent: a move stamps the folder that it empties.
    const bool hasParent =
        visitEntry(path, PathSeqLock::Scope::Folder, [&](const std::shared_ptr<InMemoryEntry>& entry) {
            if (entry->isFolder()) {
                attributes = {entry->getLastModifiedTime(), entry->isWritable()};
            }
        });
    requireFound(hasParent, attributes.has_value(), path);
    return *attributes;
}

std::uint64_t InMemoryFileSystem::getFileEntrySize(const InMemoryEntryPath& path) const {
    std::optional<std::uint64_t> size;
    repeatWhileBusy([&]() -> Busy {
        const SpinThenBlockLock lock(mutex_);
        const auto child = requireFile(*requireParent(path), path.view());
        size = fileOf(*child).tryGetFileSize();
        return size ? nullptr : child->second;
    });
    return *size;
}

boost::posix_time::ptime InMemoryFileSystem::getFileEntryLastModified(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFile(*requireParent(path), path.view())->second->getLastModifiedTime();
}

boost::posix_time::ptime InMemoryFileSystem::getFolderEntryLastModified(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFolder(*requireParent(path), path)->second->getLastModifiedTime();
}

bool InMemoryFileSystem::fileIsWritable(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFile(*requireParent(path), path.view())->second->isWritable();
}

bool InMemoryFileSystem::folderIsWritable(const InMemoryEntryPath& path) const {
    const SpinThenBlockLock lock(mutex_);
    return requireFolder(*requireParent(path), path)->second->isWritable();
}

std::shared_ptr<InMemoryFolderEntry> InMemoryFileSystem::getFolderEntry(const InMemoryEntryPath& path) const {
    return folders_.find(path.view());
}

std::shared_ptr<InMemoryEntry> InMemoryFileSystem::getEntry(std::u16string_view path) const noexcept {
    return lookUp(path, PathSeqLock::Scope::Entry).entry;
}

std::optional<InMemoryFolderEntry::LightWeightRepresentation>
InMemoryFileSystem::listFolder(const InMemoryEntryPath& path) const {
    for (;;) {
        const auto start = changes_.number();
        const auto folder = folders_.find(path.view());
        std::optional<PathSeqLock::Number> conflict;
        std::optional<InMemoryFolderEntry::LightWeightRepresentation> listing;
        if (folder) {
            folder->read([&](const InMemoryFolderEntry::ChildMap& children) {
                conflict = changes_.conflictWith(path.view(), PathSeqLock::Scope::Folder);
                // The order matters. If a move has emptied this folder, it either still runs, which is a
                // conflict, or it has removed the folder from the map.
                if (!conflict && isFolderAt(path.view(), *folder)) {
                    InMemoryFolderEntry::takeSnapshot(listing.emplace(), children,
                                                      InMemoryFolderEntry::Names::LeftOut);
                }
            });
        } else {
            conflict = changes_.conflictWith(path.view(), PathSeqLock::Scope::Folder);
        }
        if (conflict) {
            changes_.waitForEndOf(*conflict);
        } else if (listing || (!folder && changes_.number() == start)) {
            return listing;
        }
    }
}

template <class Use>
bool InMemoryFileSystem::visitEntry(std::u16string_view path, PathSeqLock::Scope scope,
                                    const Use& use) const noexcept {
    const std::u16string_view parentPath = InMemoryEntryPath::parentOf(path);
    for (;;) {
        const auto start = changes_.number();
        bool hasParent = false;
        std::optional<PathSeqLock::Number> conflict;
        const auto useChild = [&](const InMemoryFolderEntry::ChildMap& children) {
            if (const auto child = children.find(path); child != children.end()) {
                use(child->second);
            }
        };
        // The folder map's writer waits for this visit, so it must not block: a folder in use is read
        // afterwards.
        std::shared_ptr<InMemoryFolderEntry> inUse;
        folders_.visit(parentPath, [&](const std::shared_ptr<InMemoryFolderEntry>* parent) {
            hasParent = parent != nullptr;
            if (parent != nullptr && !(*parent)->tryRead([&](const InMemoryFolderEntry::ChildMap& children) {
                    conflict = changes_.conflictWith(path, scope);
                    if (!conflict) {
                        useChild(children);
                    }
                })) {
                inUse = *parent;
            }
        });
        bool isCurrent = true;
        if (inUse) {
            inUse->read([&](const InMemoryFolderEntry::ChildMap& children) {
                conflict = changes_.conflictWith(path, scope);
                isCurrent = isFolderAt(parentPath, *inUse); // after `conflictWith`, as in `listFolder`
                if (!conflict && isCurrent) {
                    useChild(children);
                }
            });
        }
        if (!hasParent) {
            conflict = changes_.conflictWith(path, scope);
        }
        if (conflict) {
            changes_.waitForEndOf(*conflict);
        } else if (hasParent ? isCurrent : changes_.number() == start) {
            return hasParent;
        }
    }
}

InMemoryFileSystem::Found InMemoryFileSystem::lookUp(std::u16string_view path,
                                                     PathSeqLock::Scope scope) const noexcept {
    Found found;
    found.hasParent =
        visitEntry(path, scope, [&](const std::shared_ptr<InMemoryEntry>& entry) { found.entry = entry; });
    return found;
}

bool InMemoryFileSystem::hasEntry(std::u16string_view path, Kind kind) const noexcept {
    bool found = false;
    visitEntry(path, PathSeqLock::Scope::Entry, [&](const std::shared_ptr<InMemoryEntry>& entry) {
        found = entry->isFolder() == (kind == Kind::Folder);
    });
    return found;
}

std::shared_ptr<InMemoryFileEntry> InMemoryFileSystem::findFile(std::u16string_view path) const {
    auto found = lookUp(path, PathSeqLock::Scope::Entry);
    requireFound(found.hasParent, found.entry && !found.entry->isFolder(), path);
    return std::static_pointer_cast<InMemoryFileEntry>(std::move(found.entry));
}

bool InMemoryFileSystem::isFolderAt(std::u16string_view path,
                                    const InMemoryFolderEntry& folder) const noexcept {
    return folders_.visit(path, [&](const std::shared_ptr<InMemoryFolderEntry>* found) {
        return found != nullptr && found->get() == &folder;
    });
}

const std::shared_ptr<InMemoryFolderEntry>*
InMemoryFileSystem::doGetFolderEntry(std::u16string_view path) const noexcept {
    return folders_.findAsWriter(path);
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

const std::shared_ptr<InMemoryFolderEntry>&
InMemoryFileSystem::requireParent(std::u16string_view path) const {
    const std::u16string_view parentPath = InMemoryEntryPath::parentOf(path);
    const auto* parent = doGetFolderEntry(parentPath);
    if (parent == nullptr) {
        throw EntryNotFoundException(InMemoryEntryPath::ofNormalText(parentPath));
    }
    return *parent;
}

} // namespace storage::inmemoryprovider
