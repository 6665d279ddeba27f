#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"

#include "inmemoryprovider/filesystem/SpinWait.h"

#include <utility>

namespace storage::inmemoryprovider {

InMemoryFolderEntry::~InMemoryFolderEntry() {
    // The members' destructors would recurse into a deep tree, one stack frame per level. Instead, the
    // folders to destroy form an intrusive list, because a destructor must not allocate.
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
        const MutexLock lock(mutex_);
        released = children_.release();
    }
    for (auto& [path, child] : released) {
        // No thread can obtain a new reference to a child that only a folder in destruction references.
        if (child->isFolder() && child.use_count() == 1) {
            auto folder = std::static_pointer_cast<InMemoryFolderEntry>(std::move(child));
            folder->nextDoomed_ = std::move(doomed);
            doomed = std::move(folder);
        }
    }
}

bool InMemoryFolderEntry::empty() const {
    const MutexLock lock(mutex_);
    return children_.empty();
}

bool InMemoryFolderEntry::mutexIsFree() const noexcept {
    if (!spinTryLock(mutex_)) {
        return false;
    }
    mutex_.unlock();
    return true;
}

void InMemoryFolderEntry::waitUntilMutexIsFree() const {
    const MutexLock lock(mutex_);
}

void InMemoryFolderEntry::addChild(std::shared_ptr<InMemoryEntry> child) {
    const MutexLock lock(mutex_);
    const InMemoryEntryPath& path = child->path();
    children_.tryEmplace(path, std::move(child));
}

bool InMemoryFolderEntry::tryAddChild(std::shared_ptr<InMemoryEntry>&& child,
                                      const boost::posix_time::ptime& time) {
    if (!spinTryLock(mutex_)) {
        return false;
    }
    const std::lock_guard lock(mutex_, std::adopt_lock);
    const InMemoryEntryPath& path = child->path();
    children_.tryEmplace(path, std::move(child));
    setLastModifiedTime(time);
    return true;
}

void InMemoryFolderEntry::removeChild(const InMemoryEntryPath& path) {
    Children::node_type removed; // outlives the lock
    const MutexLock lock(mutex_);
    if (const auto child = children_.find(path.view()); child != children_.end()) {
        removed = children_.extract(child);
    }
}

std::optional<InMemoryFolderEntry::Children::const_iterator>
InMemoryFolderEntry::findChild(std::u16string_view path) const noexcept {
    const auto found = children_.find(path);
    return found == children_.end() ? std::nullopt : std::optional(found);
}

InMemoryFolderEntry::Children::node_type
InMemoryFolderEntry::takeChild(Children::const_iterator child) noexcept {
    const MutexLock lock(mutex_);
    return children_.extract(child);
}

InMemoryFolderEntry::Children::node_type
InMemoryFolderEntry::tryTakeChild(Children::const_iterator child, boost::posix_time::ptime (*clock)()) {
    if (!spinTryLock(mutex_)) {
        return {};
    }
    const std::lock_guard lock(mutex_, std::adopt_lock);
    auto taken = children_.extract(child);
    setLastModifiedTime(clock());
    return taken;
}

InMemoryFolderEntry::Children::node_type InMemoryFolderEntry::putChild(Children::node_type child) noexcept {
    const MutexLock lock(mutex_);
    return children_.insert(std::move(child));
}

std::size_t InMemoryFolderEntry::expectEmptying() noexcept {
    const MutexLock lock(mutex_);
    children_.dropIndex();
    return children_.size();
}

void InMemoryFolderEntry::expectChildren(std::size_t count) noexcept {
    const MutexLock lock(mutex_);
    children_.expect(count);
}

std::shared_ptr<InMemoryEntry> InMemoryFolderEntry::doGetEntry(const InMemoryEntryPath& path) const {
    const MutexLock lock(mutex_);
    const auto found = children_.find(path.view());
    return found == children_.end() ? nullptr : found->second;
}

std::shared_ptr<InMemoryFileEntry> InMemoryFolderEntry::getFileEntry(const InMemoryEntryPath& path) const {
    auto entry = doGetEntry(path);
    return entry && !entry->isFolder() ? std::static_pointer_cast<InMemoryFileEntry>(std::move(entry))
                                       : nullptr;
}

std::shared_ptr<InMemoryFolderEntry>
InMemoryFolderEntry::getFolderEntry(const InMemoryEntryPath& path) const {
    auto entry = doGetEntry(path);
    return entry && entry->isFolder() ? std::static_pointer_cast<InMemoryFolderEntry>(std::move(entry))
                                      : nullptr;
}

bool InMemoryFolderEntry::doChildExist(const InMemoryEntryPath& path) const {
    const MutexLock lock(mutex_);
    return children_.find(path.view()) != children_.end();
}

InMemoryFolderEntry::Children::const_iterator InMemoryFolderEntry::begin() const {
    const MutexLock lock(mutex_);
    return children_.begin();
}

InMemoryFolderEntry::Children::const_iterator InMemoryFolderEntry::end() const {
    const MutexLock lock(mutex_);
    return children_.end();
}

InMemoryFolderEntry::LightWeightRepresentation InMemoryFolderEntry::getLightWeightRepresentation() const {
    LightWeightRepresentation snapshot;
    const MutexLock lock(mutex_);
    takeSnapshot(snapshot, children_, Names::Included);
    return snapshot;
}

void InMemoryFolderEntry::takeSnapshot(LightWeightRepresentation& snapshot, const ChildMap& children,
                                       Names names) {
    for (const auto& [path, child] : children) {
        auto name = names == Names::Included ? path.filename() : std::u16string();
        snapshot.emplace_hint(snapshot.end(), path, std::pair(std::move(name), child->isFolder()));
    }
}

bool InMemoryFolderEntry::doIsFolder() const {
    return true;
}

} // namespace storage::inmemoryprovider
