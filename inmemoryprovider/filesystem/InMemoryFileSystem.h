#pragma once

#include "inmemoryprovider/filesystem/FileEntryAttributes.h"
#include "inmemoryprovider/filesystem/FolderEntryAttributes.h"
#include "inmemoryprovider/filesystem/InMemoryEntry.h"
#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "inmemoryprovider/filesystem/InMemoryFolderEntry.h"
#include "inmemoryprovider/filesystem/IndexedPathMap.h"
#include "inmemoryprovider/filesystem/LeftRightMap.h"
#include "inmemoryprovider/filesystem/PathSeqLock.h"

#include "hostapi/ThreadSafetyAnnotations.h"
#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

namespace storage::inmemoryprovider {

/// A file system: the tree of folders and files below the root "/", and a map from paths to folders.
///
/// Owns the folder map, and through it the tree.
///
/// Locks: `mutex_` guards the shape of the tree and excludes all writers of the map. Lock order: `mutex_`
/// first, then at most one mutex of a node, inside one operation of that node. A node never calls back.
/// `getFolderEntry` acquires no lock. Reading and writing through streams acquire only the file's mutex.
///
/// Readers: lookups, listings, queries for all attributes at once and opening for reading do not acquire
/// `mutex_`, only the mutexes of the nodes that they read, one at a time. Each change is atomic for them: it
/// is one critical section under a node's mutex, or it is published in `changes_`. A reader waits for a
/// running change only if the change affects the reader's path. It holds no lock while it waits.
///
/// Busy nodes: a listing holds its folder's mutex while it copies the children, and a read or write holds its
/// file's mutex. No operation waits for either while it holds `mutex_`, so they delay only operations on
/// their own folder or file. An operation that finds the mutex held releases `mutex_`, waits for the node,
/// and starts again. A change of several steps tries the mutexes of all its folders after it is published and
/// before its first step. From then on, readers that find the change release the mutex at once.
///
/// Invariants, also after a failed operation:
/// - "/" is a folder in the map; it is never removed or replaced;
/// - the map holds exactly the folders of the tree, each under its own path;
/// - the parent path of every entry except "/" names a folder in the map, which has the entry as a child.
///
/// Each operation checks everything, then allocates, then changes the tree without a step that can throw. So
/// a failed operation has changed nothing, with these exceptions:
/// - An allocation failure stops a folder move between two entries: each entry is at its old or its new path.
///   A replaced folder is restored if the source has not taken its place yet. Every other operation changes
///   nothing if allocation fails. A file move is one of them: it restores a replaced file.
/// - A check that fails while a move runs, such as a read-only folder, stops the move there. Moved entries
///   stay moved, and a replaced entry stays removed.
///
/// Nodes that an operation removes from the tree are destroyed after `mutex_` is released. Exceptions: the
/// old nodes that a folder move leaves behind and, if it stops midway when out of memory, the empty folder
/// that it has replaced.
///
/// Failures are reported by the internal exceptions. Each names the path that the operation's comment states.
/// Unless stated otherwise, a missing parent folder causes EntryNotFoundException and a read-only parent
/// causes ReadOnlyException, both naming the parent's path. Every operation may also throw std::bad_alloc.
///
/// Thread-safe.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the padding prevents false sharing
class InMemoryFileSystem {
public:
    /// An empty file system: the root alone, stamped with the current time.
    InMemoryFileSystem();

    /// Creates the root folder. Keeps an existing one.
    void createRootEntry();

    /// Adds an empty, writable folder and stamps it and its parent with one reading of the clock.
    /// @throws EntryExistsException  naming `path`, if an entry exists there or the path has no parent
    void addFolderEntry(const InMemoryEntryPath& path);

    /// Adds an empty, writable file and stamps it and its parent with one reading of the clock.
    /// @throws EntryExistsException  naming `path`, if an entry exists there
    void addFileEntry(const InMemoryEntryPath& path) { addFileEntry(InMemoryEntryPath(path)); }
    void addFileEntry(InMemoryEntryPath&& path);

    /// Removes an empty folder and stamps its parent.
    /// @throws EntryNotFoundException   naming `path`, if it is not a folder
    /// @throws FolderNotEmptyException  naming `path`, whether or not the folder is read-only
    /// @throws ReadOnlyException        naming the parent, or else `path`, if the folder itself is read-only
    void removeFolderEntry(const InMemoryEntryPath& path);

    /// Removes a file and stamps its parent.
    /// @throws EntryNotFoundException  naming `path`, if it is not a file
    /// @throws ReadOnlyException       naming the parent, or else `path`, if the file itself is read-only
    void removeFileEntry(const InMemoryEntryPath& path) { removeFileEntry(path.view()); }
    /// As above, for the path with the text `path`, which is not copied.
    void removeFileEntry(std::u16string_view path);

    // Queries. EntryNotFoundException names the parent if it is missing, or else the path if no entry of the
    // required kind exists there. They do not find the root, which has no parent.

    /// All attributes of a file, with one lookup. They are not read atomically: another thread may change
    /// the file in between.
    FileEntryAttributes getFileEntryAttributes(const InMemoryEntryPath& path) const {
        return getFileEntryAttributes(path.view());
    }

    /// As above, for the path with the text `path`. Does not allocate if the file exists.
    FileEntryAttributes getFileEntryAttributes(std::u16string_view path) const;

    /// The attributes of the folder at the path with the text `path`. They are read atomically, except that
    /// the provider's setters may change them in between. Does not allocate if the folder exists.
    FolderEntryAttributes getFolderEntryAttributes(std::u16string_view path) const;

    // These acquire `mutex_`. The provider uses the two above instead.

    /// In bytes.
    std::uint64_t getFileEntrySize(const InMemoryEntryPath& path) const;
    boost::posix_time::ptime getFileEntryLastModified(const InMemoryEntryPath& path) const;
    boost::posix_time::ptime getFolderEntryLastModified(const InMemoryEntryPath& path) const;
    bool fileIsWritable(const InMemoryEntryPath& path) const;
    bool folderIsWritable(const InMemoryEntryPath& path) const;

    /// The folder at `path`, which may be the root, or an empty pointer. Acquires no lock and never waits for
    /// a change.
    std::shared_ptr<InMemoryFolderEntry> getFolderEntry(const InMemoryEntryPath& path) const;

    /// The entry at the path with the text `path`, or an empty pointer; the root is never found.
    std::shared_ptr<InMemoryEntry> getEntry(std::u16string_view path) const noexcept;

    /// Whether there is a file, or a folder, at the path with the text `path`; the root is never found.
    /// Unlike `getEntry`, these write nothing to the entry, so lookups of one entry do not contend.
    bool hasFile(std::u16string_view path) const noexcept { return hasEntry(path, Kind::File); }
    bool hasFolder(std::u16string_view path) const noexcept { return hasEntry(path, Kind::Folder); }

    /// A snapshot of the children of the folder at `path`, which may be the root. The snapshot leaves the
    /// names empty. No value if no folder exists there.
    /// @throws std::bad_alloc
    std::optional<InMemoryFolderEntry::LightWeightRepresentation>
    listFolder(const InMemoryEntryPath& path) const;

    /// Moves a file: a new node at `target` takes over the bytes and the writable flag. The node and both
    /// parents are stamped with one reading of the clock.
    ///
    /// A replaced file is removed before the last checks, which are those of the two parents' flags. If
    /// replacement is allowed, moving a file onto itself removes it and throws EntryNotFoundException.
    /// @throws EntryNotFoundException  naming the source's parent; `source`, if it is not a file; the
    ///     target's parent
    /// @throws EntryExistsException    naming `target`, if it is a folder, or a file that the policy does not
    ///     replace
    /// @throws ReadOnlyException       naming `target`, the target's parent or the source's parent
    void moveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                       const provider::ReplacementPolicy& policy);

    /// Moves a folder and everything below it, one folder at a time: new nodes replace the old ones. All of
    /// them and both parents are stamped with one reading of the clock. Moved folders are writable; moved
    /// files keep their flag. A replaced empty folder is removed before the last checks.
    ///
    /// Entries below `source` can stop the move; what has been moved until then stays moved. Such entries are
    /// a read-only folder and, because names can be empty, an entry whose new path is taken or has no parent
    /// folder.
    /// @throws EntryNotFoundException   naming the source's parent; `source`, if it is not a folder; the
    ///     target's parent; the missing parent folder of an entry's new path
    /// @throws EntryExistsException     naming `target`, if it is a file, a folder that the policy does not
    ///     replace, `source` itself or below `source`; the new path of an entry, if it is taken
    /// @throws FolderNotEmptyException  naming `target`
    /// @throws ReadOnlyException        naming `target`, a parent, `source`, or a folder below it
    void moveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                         const provider::ReplacementPolicy& policy);

    /// Opens a file for reading and writing. Creates and empties it as requested by `options`. Stamps the
    /// file, and its parent if the file is created, with one reading of the clock.
    /// @throws EntryNotFoundException  naming the parent; `path`, if nothing exists there and the file must
    ///     exist
    /// @throws EntryExistsException    naming `path`, if it is a folder
    /// @throws ReadOnlyException       naming `path`; the parent, if the file has to be created
    std::unique_ptr<provider::ByteStream> checkOutFileEntry(const InMemoryEntryPath& path,
                                                            const provider::ByteStreamOpenOptions& options) {
        return checkOutFileEntry(path.view(), options);
    }

    /// As above, for the path with the text `path`, which is copied only if the file is created.
    std::unique_ptr<provider::ByteStream> checkOutFileEntry(std::u16string_view path,
                                                            const provider::ByteStreamOpenOptions& options);

    /// Opens a file for reading. Changes nothing and ignores the writable flag.
    /// @throws EntryNotFoundException  naming the parent; `path`, if it is not a file
    std::unique_ptr<provider::ByteStream> checkOutFileEntry(const InMemoryEntryPath& path) const {
        return checkOutFileEntry(path.view());
    }

    /// As above, for the path with the text `path`, which is not copied.
    std::unique_ptr<provider::ByteStream> checkOutFileEntry(std::u16string_view path) const;

private:
    using FolderMap = LeftRightMap<InMemoryEntryPath, std::shared_ptr<InMemoryFolderEntry>,
                                   IndexedPathMap<std::shared_ptr<InMemoryFolderEntry>>>;
    using Child = InMemoryFolderEntry::Children::const_iterator;
    struct FolderMove;

    struct Found {
        bool hasParent = false; ///< whether the parent is a folder
        std::shared_ptr<InMemoryEntry> entry;
    };

    /// Calls `use` with the entry at the path with the text `path`, if it exists, under the mutex of its
    /// folder. `use` must not block, because the writer of the folder map waits for it.
    /// @return whether the parent is a folder, at the moment of the call of `use`
    template <class Use>
    bool visitEntry(std::u16string_view path, PathSeqLock::Scope scope, const Use& use) const noexcept;

    enum class Kind { File, Folder };
    bool hasEntry(std::u16string_view path, Kind kind) const noexcept;

    /// The entry at the path with the text `path`. All parts of the result are from the same moment during
    /// the call.
    Found lookUp(std::u16string_view path, PathSeqLock::Scope scope) const noexcept;

    /// Whether the map has `folder` at `path`.
    bool isFolderAt(std::u16string_view path, const InMemoryFolderEntry& folder) const noexcept;

    /// @throws EntryNotFoundException  naming the parent; `path`, if it is not a file
    std::shared_ptr<InMemoryFileEntry> findFile(std::u16string_view path) const;

    /// The result of an attempt. Null if the attempt succeeded. Otherwise it changed nothing, because another
    /// thread held this node's mutex for too long.
    using Busy = std::shared_ptr<InMemoryEntry>;

    /// Repeats `attempt`, which acquires `mutex_`, until it succeeds. Waits for the busy node in between.
    template <class Attempt>
    static void repeatWhileBusy(const Attempt& attempt) {
        while (const Busy busy = attempt()) {
            waitUntilMutexIsFree(*busy);
        }
    }

    static void waitUntilMutexIsFree(const InMemoryEntry& node);

    // Attempts at the operations above. They throw the same exceptions.
    Busy tryAddFolderEntry(const InMemoryEntryPath& path);
    /// @param path  moved from only if the attempt succeeds or throws
    Busy tryAddFileEntry(InMemoryEntryPath& path);
    Busy tryRemoveFolderEntry(const InMemoryEntryPath& path);
    Busy tryRemoveFileEntry(std::u16string_view path);
    Busy tryMoveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                          const provider::ReplacementPolicy& policy);
    Busy tryMoveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                            const provider::ReplacementPolicy& policy);
    Busy tryCheckOutFileEntry(std::u16string_view path, const provider::ByteStreamOpenOptions& options,
                              std::unique_ptr<provider::ByteStream>& stream);

    // The operations below require `mutex_`.

    /// The folder at `path`, or null. Valid until the map changes.
    const std::shared_ptr<InMemoryFolderEntry>* doGetFolderEntry(std::u16string_view path) const noexcept
        QZFL_REQUIRES(mutex_);
    void addFolderToFSMap(const std::shared_ptr<InMemoryFolderEntry>& folder) QZFL_REQUIRES(mutex_);
    /// Returns the removed element, so that the caller can destroy it after it has released `mutex_`.
    FolderMap::Element removeFolderFromFSMap(const InMemoryEntryPath& path) QZFL_REQUIRES(mutex_);

    /// Adds a new folder to its parent's children and to the map. Changes neither if allocation fails.
    /// @throws std::bad_alloc
    void linkFolder(InMemoryFolderEntry& parent, const std::shared_ptr<InMemoryFolderEntry>& folder)
        QZFL_REQUIRES(mutex_);

    /// Valid until the map changes.
    const std::shared_ptr<InMemoryFolderEntry>& requireParent(std::u16string_view path) const
        QZFL_REQUIRES(mutex_);
    const std::shared_ptr<InMemoryFolderEntry>& requireParent(const InMemoryEntryPath& path) const
        QZFL_REQUIRES(mutex_) {
        return requireParent(path.view());
    }

    /// A folder that moving the folder at `source` would change, and that is busy: its mutex is held. Null if
    /// none is.
    /// @throws std::bad_alloc
    Busy findBusyFolder(const std::shared_ptr<InMemoryFolderEntry>& sourceParent,
                        const std::shared_ptr<InMemoryFolderEntry>& targetParent,
                        const InMemoryEntryPath& source) const QZFL_REQUIRES(mutex_);

    /// Replaces `file`, a child of `sourceParent`, by a new node at `target`.
    /// @return the old node, for the caller to destroy
    static std::shared_ptr<InMemoryEntry> moveFileEntryImpl(InMemoryFolderEntry& sourceParent, Child file,
                                                            InMemoryFolderEntry& targetParent,
                                                            InMemoryEntryPath&& target,
                                                            const boost::posix_time::ptime& time);
    void moveFolderEntryImpl(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                             const boost::posix_time::ptime& time) QZFL_REQUIRES(mutex_);
    static FolderMove planFolderMove(InMemoryFolderEntry& sourceParent, const InMemoryEntryPath& source,
                                     InMemoryFolderEntry& targetParent, const InMemoryEntryPath& target);
    InMemoryFolderEntry& newParentOf(const InMemoryEntryPath& childTarget, const FolderMove& move) const
        QZFL_REQUIRES(mutex_);
    void beginFolderMove(FolderMove& move, const boost::posix_time::ptime& time) QZFL_REQUIRES(mutex_);
    void finishFolderMove(const FolderMove& move, const boost::posix_time::ptime& time) QZFL_REQUIRES(mutex_);

    static constexpr std::size_t cacheLine = 64;

    FolderMap folders_;
    mutable std::mutex mutex_;
    alignas(cacheLine) PathSeqLock changes_; ///< read by threads that do not hold `mutex_`
};

} // namespace storage::inmemoryprovider
