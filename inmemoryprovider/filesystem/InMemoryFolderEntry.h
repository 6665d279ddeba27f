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
/// Owns its direct children, each under its own full path. `mutex_` guards the children. It is acquired inside single
/// operations of this class only. While it is held, no other lock is acquired and no node is destroyed.
///
/// A listing holds the mutex for as long as it copies. A thread that holds the file system's mutex must not wait for that,
/// or all changes everywhere would: `mutexIsFree` and the operations that begin with `try` tell it to wait elsewhere.
///
/// Thread safety: thread-safe, except that `findChild`, `hasChildren` and the iterators of `begin` and `end` require that
/// the children do not change; holding the file system's mutex ensures that.
class InMemoryFolderEntry : public InMemoryEntry {
public:
    using Children = std::map<InMemoryEntryPath, std::shared_ptr<InMemoryEntry>>;
    /// Of each child, under its full path: the name, and whether it is a folder.
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
    bool tryRead(const Use& use) const QZFL_NO_THREAD_ANALYSIS { // which does not know std::unique_lock
        const std::unique_lock lock(mutex_, std::try_to_lock);
        if (lock) {
            use(children_);
        }
        return lock.owns_lock();
    }

    /// Whether a snapshot has the children's names, or leaves them empty, for they are in the paths, too.
    enum class Names { Included, LeftOut };

    /// Makes `snapshot`, which is empty, one of `children`, in a call of `read`. It holds no pointer into the tree. It is the
    /// caller's, so that none of it is freed under the mutex, also when memory runs out.
    /// @throws std::bad_alloc with part of the children in `snapshot`
    static void takeSnapshot(LightWeightRepresentation& snapshot, const ChildMap& children, Names names);

    /// Where the child at `path` is, if there is one. Takes no lock: under the file system's mutex the children do not
    /// change.
    std::optional<Children::const_iterator>
    findChild(const InMemoryEntryPath& path) const noexcept QZFL_NO_THREAD_ANALYSIS;

    /// Whether there are children. Takes no lock, as `findChild`.
    bool hasChildren() const noexcept QZFL_NO_THREAD_ANALYSIS { return !children_.empty(); }

    /// Whether the mutex could be acquired within the time that a look-up holds it.
    bool mutexIsFree() const noexcept QZFL_NO_THREAD_ANALYSIS;

    /// Returns when the mutex could be acquired, however long that takes.
    void waitUntilMutexIsFree() const;

    /// Adds `child` under its own path. If the path is taken, the existing child stays and the new one is dropped.
    /// @throws std::bad_alloc with nothing changed
    void addChild(std::shared_ptr<InMemoryEntry> child);

    /// As `addChild`, and stamps the folder, in one step for readers.
    /// @return false, with nothing changed and `child` left to the caller, if another thread holds the mutex for long
    bool tryAddChild(std::shared_ptr<InMemoryEntry>&& child,
                     const boost::posix_time::ptime& time) QZFL_NO_THREAD_ANALYSIS;

    /// Takes out a child that `findChild` found. The caller decides where it is destroyed, or puts it back.
    Children::node_type takeChild(Children::const_iterator child) noexcept;

    /// As `takeChild`, and stamps the folder with what `clock` returns after the removal, in one step for readers.
    /// @return nothing, with nothing changed, if another thread holds the mutex for long
    Children::node_type tryTakeChild(Children::const_iterator child,
                                     boost::posix_time::ptime (*clock)()) QZFL_NO_THREAD_ANALYSIS;

    /// Inserts what `takeChild` took out of any folder; returns it if its path is taken. Never fails.
    Children::node_type putChild(Children::node_type child) noexcept;

    /// Prepares the folder for all its children being taken out.
    /// @return the number of children
    std::size_t expectEmptying() noexcept;

    /// Prepares the folder for as many children as `count`.
    void expectChildren(std::size_t count) noexcept;

    /// Iterators of the children, valid while they do not change.
    Children::const_iterator begin() const;
    Children::const_iterator end() const;

    // The file system uses the operations above. Those below complete the interface of a folder for callers that hold a
    // node alone; each is one section under the folder's mutex.

    /// Releases the child at `path`, if there is one. The folder's reference is released after the mutex.
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

    /// Empties the children. Those folders among them that die with this one are put in front of `doomed`
    /// instead, so that their own children can be taken out first.
    void releaseChildren(std::shared_ptr<InMemoryFolderEntry>& doomed) noexcept;

    ChildMap children_ QZFL_GUARDED_BY(mutex_);
    mutable std::mutex mutex_;
    std::shared_ptr<InMemoryFolderEntry> nextDoomed_; ///< set only while the folder is being destroyed
};

} // namespace storage::inmemoryprovider
