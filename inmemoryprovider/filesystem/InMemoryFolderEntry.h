#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntry.h"
#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "inmemoryprovider/filesystem/IndexedPathMap.h"
#include "inmemoryprovider/filesystem/MutexLock.h"

#include "hostapi/ThreadSafetyAnnotations.h"

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace storage::inmemoryprovider {

/// A folder.
///
/// Owns its direct children, each under its own full path. `mutex_` guards the children. Only operations of
/// this class acquire it, and each releases it before it returns. While it is held, no other lock is acquired
/// and no node is destroyed.
///
/// A listing holds the mutex while it copies. A thread that holds the file system's mutex must not block on
/// it, because that would block all changes in the tree. Such a thread uses `mutexIsFree` and the operations
/// that begin with `try`. If they fail, it releases the file system's mutex and then waits.
///
/// Thread-safe, except that `findChild`, `hasChildren` and the iterators of `begin` and `end` require that
/// the children do not change; holding the file system's mutex ensures that.
class InMemoryFolderEntry : public InMemoryEntry {
public:
    using Children = std::map<InMemoryEntryPath, std::shared_ptr<InMemoryEntry>>;
    /// Maps the full path of each child to its name and whether it is a folder.
    using LightWeightRepresentation = std::map<InMemoryEntryPath, std::pair<std::u16string, bool>>;
    using ChildMap = IndexedPathMap<std::shared_ptr<InMemoryEntry>>;

    /// A folder without children.
    using InMemoryEntry::InMemoryEntry;
    InMemoryFolderEntry(const InMemoryFolderEntry&) = delete;
    InMemoryFolderEntry& operator=(const InMemoryFolderEntry&) = delete;

    /// Destroys what is below the folder, at any depth, without recursion.
    ~InMemoryFolderEntry() override;

    bool empty() const;

    /// Calls `use` with this folder's children under its mutex.
    template <class Use>
    void read(const Use& use) const {
        const MutexLock lock(mutex_);
        use(children_);
    }

    /// As `read`, but returns false instead of blocking when another thread holds the mutex.
    template <class Use>
    bool tryRead(const Use& use) const QZFL_NO_THREAD_ANALYSIS { // std::unique_lock is not annotated
        const std::unique_lock lock(mutex_, std::try_to_lock);
        if (lock) {
            use(children_);
        }
        return lock.owns_lock();
    }

    /// Whether a snapshot contains the children's names. They can be left empty, because the paths contain
    /// them too.
    enum class Names { Included, LeftOut };

    /// Copies `children` into `snapshot`, which is empty. Call it inside `read`. The snapshot holds no
    /// pointer into the tree. The caller owns it, so that it is not freed under the mutex, even if allocation
    /// fails.
    /// @throws std::bad_alloc with some of the children in `snapshot`
    static void takeSnapshot(LightWeightRepresentation& snapshot, const ChildMap& children, Names names);

    /// The position of the child at `path`, if it exists. Acquires no lock: the file system's mutex keeps the
    /// children from changing.
    std::optional<Children::const_iterator>
    findChild(std::u16string_view path) const noexcept QZFL_NO_THREAD_ANALYSIS;
    std::optional<Children::const_iterator> findChild(const InMemoryEntryPath& path) const noexcept {
        return findChild(path.view());
    }

    /// Whether there are children. Acquires no lock, as `findChild`.
    bool hasChildren() const noexcept QZFL_NO_THREAD_ANALYSIS { return !children_.empty(); }

    /// Whether the mutex can be acquired by a short spin, which lasts longer than a lookup holds the mutex.
    bool mutexIsFree() const noexcept QZFL_NO_THREAD_ANALYSIS;

    /// Blocks until the mutex can be acquired.
    void waitUntilMutexIsFree() const;

    /// Adds `child` under its own path. If the path is taken, the existing child stays and the new one is
    /// discarded.
    /// @throws std::bad_alloc with nothing changed
    void addChild(std::shared_ptr<InMemoryEntry> child);

    /// As `addChild`, and stamps the folder in the same critical section.
    /// @return false if another thread held the mutex for too long; then nothing has changed, and `child` is
    ///     not moved from
    bool tryAddChild(std::shared_ptr<InMemoryEntry>&& child,
                     const boost::posix_time::ptime& time) QZFL_NO_THREAD_ANALYSIS;

    /// Removes a child that `findChild` found. The caller destroys it or puts it back.
    Children::node_type takeChild(Children::const_iterator child) noexcept;

    /// As `takeChild`, and stamps the folder in the same critical section with the result of `clock`, which
    /// is called after the removal.
    /// @return an empty node, with nothing changed, if another thread held the mutex for too long
    Children::node_type tryTakeChild(Children::const_iterator child,
                                     boost::posix_time::ptime (*clock)()) QZFL_NO_THREAD_ANALYSIS;

    /// Inserts a node that `takeChild` of any folder returned. An empty node has no effect.
    /// @return `child` if its path is taken, otherwise an empty node
    Children::node_type putChild(Children::node_type child) noexcept;

    /// Prepares the folder for the removal of all its children.
    /// @return the number of children
    std::size_t expectEmptying() noexcept;

    /// Prepares the folder for `count` children.
    void expectChildren(std::size_t count) noexcept;

    /// Iterators of the children, valid while they do not change.
    Children::const_iterator begin() const;
    Children::const_iterator end() const;

    // The operations below are for callers that have only this node. Each is one critical section under the
    // folder's mutex.

    /// Removes the child at `path`, if it exists. Releases the folder's reference to it after the mutex.
    void removeChild(const InMemoryEntryPath& path);

    /// The child at `path`, or an empty pointer.
    std::shared_ptr<InMemoryEntry> getEntry(const InMemoryEntryPath& path) const { return doGetEntry(path); }
    std::shared_ptr<InMemoryEntry> doGetEntry(const InMemoryEntryPath& path) const;

    /// The child at `path` if it is a file, else an empty pointer.
    std::shared_ptr<InMemoryFileEntry> getFileEntry(const InMemoryEntryPath& path) const;

    /// The child at `path` if it is a folder, else an empty pointer.
    std::shared_ptr<InMemoryFolderEntry> getFolderEntry(const InMemoryEntryPath& path) const;

    /// Whether there is a child of either kind at `path`.
    bool doChildExist(const InMemoryEntryPath& path) const;

    /// A snapshot of the children.
    /// @throws std::bad_alloc
    LightWeightRepresentation getLightWeightRepresentation() const;

private:
    bool doIsFolder() const override;

    /// Removes all children. Child folders that only this folder references are prepended to `doomed` instead
    /// of being destroyed, so that their children can be removed first.
    void releaseChildren(std::shared_ptr<InMemoryFolderEntry>& doomed) noexcept;

    ChildMap children_ QZFL_GUARDED_BY(mutex_);
    mutable std::mutex mutex_;
    std::shared_ptr<InMemoryFolderEntry> nextDoomed_; ///< used only during destruction
};

} // namespace storage::inmemoryprovider
