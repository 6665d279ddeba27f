#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntry.h"
#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "inmemoryprovider/filesystem/IndexedPathMap.h"

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
/// Owns its direct children, each under its own full path. `mutex_` guards the children; it is taken inside
/// single operations of this class only, and while it is held no other lock is taken, no code of others is
/// called but the children's lock-free accessors, and nothing is destroyed.
///
/// Thread safety: every operation may be called from any number of threads, except that `findChild`, and the
/// iterators of `begin` and `end`, are safe only while the children do not change; holding the file system's
/// mutex ensures that.
class InMemoryFolderEntry : public InMemoryEntry {
public:
    using Children = std::map<InMemoryEntryPath, std::shared_ptr<InMemoryEntry>>;
    /// Of each child, under its full path: the name, and whether it is a folder.
    using LightWeightRepresentation = std::map<InMemoryEntryPath, std::pair<std::u16string, bool>>;

    /// A folder without children.
    using InMemoryEntry::InMemoryEntry;
    InMemoryFolderEntry(const InMemoryFolderEntry&) = delete;
    InMemoryFolderEntry& operator=(const InMemoryFolderEntry&) = delete;

    /// Destroys what is below the folder, at any depth, without recursion.
    ~InMemoryFolderEntry() override;

    bool empty() const;

    /// Adds `child` under its own path. A child that is there already stays, and the new one is dropped.
    /// @throws std::bad_alloc with the children unchanged
    void addChild(std::shared_ptr<InMemoryEntry> child);

    /// Lets go of the child at `path`, if there is one. When the folder was its last holder, it dies after
    /// the folder's mutex was released.
    void removeChild(const InMemoryEntryPath& path);

    /// Where the child at `path` is, if there is one. Takes no lock: under the file system's mutex nobody changes
    /// the children.
    std::optional<Children::const_iterator> findChild(const InMemoryEntryPath& path) const noexcept;

    /// Takes out a child that `findChild` found and hands it to the caller, who decides where it dies, or puts it back.
    Children::node_type takeChild(Children::const_iterator child) noexcept;

    /// `child` as `putChild` takes it.
    /// @throws std::bad_alloc
    static Children::node_type makeChild(std::shared_ptr<InMemoryEntry> child);

    /// Puts what `makeChild` made, or `takeChild` took out here or elsewhere, among the children; or, when its place has
    /// been taken, hands it back. Never fails.
    Children::node_type putChild(Children::node_type child) noexcept;

    /// Prepares the folder for all its children being taken out.
    /// @return the number of children
    std::size_t expectEmptying() noexcept;

    /// Prepares the folder for as many children as `count`.
    void expectChildren(std::size_t count) noexcept;

    /// The child at `path`, or an empty pointer.
    std::shared_ptr<InMemoryEntry> getEntry(const InMemoryEntryPath& path) const { return doGetEntry(path); }
    std::shared_ptr<InMemoryEntry> doGetEntry(const InMemoryEntryPath& path) const {
        return getEntry(path.view());
    }
    std::shared_ptr<InMemoryEntry> getEntry(std::u16string_view path) const;

    /// The child at `path` if it is a file, else an empty pointer.
    std::shared_ptr<InMemoryFileEntry> getFileEntry(const InMemoryEntryPath& path) const;

    /// The child at `path` if it is a folder, else an empty pointer.
    std::shared_ptr<InMemoryFolderEntry> getFolderEntry(const InMemoryEntryPath& path) const;

    /// Whether there is a child of either kind at `path`.
    bool doChildExist(const InMemoryEntryPath& path) const;

    Children::const_iterator begin() const;
    Children::const_iterator end() const;

    /// A snapshot of the children that holds no pointer into the tree.
    /// @throws std::bad_alloc
    LightWeightRepresentation getLightWeightRepresentation() const;

private:
    bool doIsFolder() const override;

    /// Empties the children. Those folders among them that die with this one are put in front of `doomed`
    /// instead, so that their own children can be taken out first.
    void releaseChildren(std::shared_ptr<InMemoryFolderEntry>& doomed) noexcept;

    IndexedPathMap<std::shared_ptr<InMemoryEntry>> children_;
    mutable std::mutex mutex_;
    std::shared_ptr<InMemoryFolderEntry> nextDoomed_; ///< set only while the folder is being destroyed
};

} // namespace storage::inmemoryprovider
