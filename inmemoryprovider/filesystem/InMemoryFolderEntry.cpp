#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryFolderEntry::~InMemoryFolderEntry() {
    // Left to the members' destructors, a deep tree would take a stack frame for each level. The folders to
    // be destroyed form a list through themselves, because a destructor must not allocate.
    std::shared_ptr<InMemoryFolderEntry> doomed;
    releaseChildren(doomed);
    while (doomed) {
        const auto folder = std::move(doomed);
        doomed = std::move(folder->nextDoomed_);
        folder->releaseChildren(doomed);
    }
}

void InMemoryFolderEntry::releaseChildren(std::shared_ptr<InMemoryFolderEntry>& doomed) noexcept {
    Children released;
    {
        const std::lock_guard lock(mutex_);
        released.swap(children_);
    }
    for (auto& [path, child] : released) {
        // Nobody can take a new reference to a child that only a dying folder holds.
        if (child->isFolder() && child.use_count() == 1) {
            auto folder = std::static_pointer_cast<InMemoryFolderEntry>(std::move(child));
            folder->nextDoomed_ = std::move(doomed);
            doomed = std::move(folder);
        }
    }
}

bool InMemoryFolderEntry::empty() const {
    const std::lock_guard lock(mutex_);
    return children_.empty();
}

void InMemoryFolderEntry::addChild(std::shared_ptr<InMemoryEntry> child) {
    const std::lock_guard lock(mutex_);
    children_.try_emplace(child->path(), std::move(child));
}

void InMemoryFolderEntry::removeChild(const InMemoryEntryPath& path) {
    takeChild(path);
}

InMemoryFolderEntry::Children::node_type
InMemoryFolderEntry::takeChild(const InMemoryEntryPath& path) noexcept {
    const std::lock_guard lock(mutex_);
    return children_.extract(path);
}

void InMemoryFolderEntry::restoreChild(Children::node_type child) noexcept {
    decltype(children_)::insert_return_type unneeded; // outlives the lock
    const std::lock_guard lock(mutex_);
    unneeded = children_.insert(std::move(child));
}

std::shared_ptr<InMemoryEntry> InMemoryFolderEntry::doGetEntry(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    const auto found = children_.find(path);
    return found == children_.end() ? nullptr : found->second;
}

std::shared_ptr<InMemoryFileEntry> InMemoryFolderEntry::getFileEntry(const InMemoryEntryPath& path) const {
    return std::dynamic_pointer_cast<InMemoryFileEntry>(doGetEntry(path));
}

std::shared_ptr<InMemoryFolderEntry>
InMemoryFolderEntry::getFolderEntry(const InMemoryEntryPath& path) const {
    return std::dynamic_pointer_cast<InMemoryFolderEntry>(doGetEntry(path));
}

bool InMemoryFolderEntry::doChildExist(const InMemoryEntryPath& path) const {
    const std::lock_guard lock(mutex_);
    return children_.find(path) != children_.end();
}

InMemoryFolderEntry::Children::const_iterator InMemoryFolderEntry::begin() const {
    const std::lock_guard lock(mutex_);
    return children_.begin();
}

InMemoryFolderEntry::Children::const_iterator InMemoryFolderEntry::end() const {
    const std::lock_guard lock(mutex_);
    return children_.end();
}

InMemoryFolderEntry::LightWeightRepresentation InMemoryFolderEntry::getLightWeightRepresentation() const {
    LightWeightRepresentation snapshot;
    const std::lock_guard lock(mutex_);
    for (const auto& [path, child] : children_) {
        snapshot.try_emplace(snapshot.end(), path, child->getName(), child->isFolder());
    }
    return snapshot;
}

bool InMemoryFolderEntry::doIsFolder() const {
    return true;
}

} // namespace storage::inmemoryprovider
