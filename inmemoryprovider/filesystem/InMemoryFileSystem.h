#pragma once

#include "inmemoryprovider/filesystem/FileEntryAttributes.h"
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

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

namespace storage::inmemoryprovider {

/// A whole file system: the tree of folders and files under the root "/", and the map of all its folders by
/// path.
///
/// Owns the folder map, and through it the tree. `mutex_` guards the shape of the tree and excludes all
/// writers of the map. Lock order: `mutex_` first, then at most one lock of a node, taken inside one
/// operation of that node. No node ever calls back. `getFolderEntry` takes no lock, and reading and writing
/// through streams only the file's.
///
/// Look-ups, listings, attributes and opening for reading do not take `mutex_` either, only the folder's that they read.
/// Each change is one step for them: one section under a folder's mutex, or else published in `changes_`. A reader waits
/// for the change under way only if it concerns the reader's path, and holds nothing while it waits.
///
/// A listing holds its folder's mutex for as long as it copies. A change never waits for that while it holds `mutex_`, so a
/// listing holds up changes in its own folder only: an operation that finds the mutex of a folder taken releases `mutex_`,
/// waits for the folder, and starts again. A change of several steps tries the mutexes of all its folders after it is
/// published and before its first step. From then on, readers that find the change release the mutex at once.
///
/// Between calls, also after one that failed:
/// - "/" is a folder in the map; it is never removed or replaced;
/// - the map holds exactly the folders of the tree, each under its own path;
/// - the parent path of every other entry names a folder in the map, which has the entry among its children.
///
/// Each operation checks everything, then allocates, then changes the tree with nothing left that can throw.
/// So a failed operation has changed nothing, with these exceptions:
/// - A failed allocation stops a folder move between two entries: each is at its old or its new path. A replaced folder is
///   restored if the source has not taken its place yet. Every other operation, a file move included, changes nothing when
///   allocation fails; a replaced file is restored.
/// - A read-only folder stops a move where it is. What has been moved stays moved, and what was replaced stays removed.
/// Nodes that an operation takes out of the tree are destroyed after `mutex_` is released, except the emptied nodes that a
/// move leaves behind.
///
/// Failures are the internal exceptions. Each names the path that the comment of the operation tells; unless
/// it tells another, a missing parent folder is EntryNotFoundException and a read-only parent
/// ReadOnlyException, both naming the parent's path. Every operation may also throw std::bad_alloc.
///
/// Thread safety: every public operation may be called from any number of threads.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): what different threads change lies on different cache lines
class InMemoryFileSystem {
public:
    /// An empty file system: the root alone, stamped with the current time.
    InMemoryFileSystem();

    /// Makes the root folder; one that is there already stays.
    void createRootEntry();

    /// Adds an empty, writable folder and stamps it and its parent with one reading of the clock.
    /// @throws EntryExistsException  naming `path`, when anything stands there or the path has no parent
    void addFolderEntry(const InMemoryEntryPath& path);

    /// Adds an empty, writable file and stamps it and its parent with one reading of the clock.
    /// @throws EntryExistsException  naming `path`, when anything stands there
    void addFileEntry(const InMemoryEntryPath& path) { addFileEntry(InMemoryEntryPath(path)); }
    void addFileEntry(InMemoryEntryPath&& path);

    /// Removes an empty folder and stamps its parent.
    /// @throws EntryNotFoundException   naming `path`, when there is no folder
    /// @throws FolderNotEmptyException  naming `path`, whether or not the folder is read-only
    /// @throws ReadOnlyException        naming the parent, or else `path` when the folder itself is read-only
    void removeFolderEntry(const InMemoryEntryPath& path);

    /// Removes a file and stamps its parent.
    /// @throws EntryNotFoundException  naming `path`, when there is no file
    /// @throws ReadOnlyException       naming the parent, or else `path` when the file itself is read-only
    void removeFileEntry(const InMemoryEntryPath& path);

    // Queries. The first path without an entry of the wanted kind, the parent's before its child's, is named
    // by EntryNotFoundException. They do not reach the root, which has no parent.

    /// All three of a file, which is found once. They are read one after the other; another thread may change the
    /// file in between.
    FileEntryAttributes getFileEntryAttributes(const InMemoryEntryPath& path) const;

    /// The folder at `path`, whose time and flag the caller reads one after the other.
    std::shared_ptr<InMemoryFolderEntry> requireFolderEntry(const InMemoryEntryPath& path) const;

    // These take `mutex_`; the provider uses the two above, which do not.

    /// In bytes.
    std::uint64_t getFileEntrySize(const InMemoryEntryPath& path) const;
    boost::posix_time::ptime getFileEntryLastModified(const InMemoryEntryPath& path) const;
    boost::posix_time::ptime getFolderEntryLastModified(const InMemoryEntryPath& path) const;
    bool fileIsWritable(const InMemoryEntryPath& path) const;
    bool folderIsWritable(const InMemoryEntryPath& path) const;

    /// The folder at `path`, the root included, or an empty pointer. Takes no lock and never waits, however
    /// long a change of the tree takes.
    std::shared_ptr<InMemoryFolderEntry> getFolderEntry(const InMemoryEntryPath& path) const;

    /// The entry at the path with the text `path`, or an empty pointer; the root is never found.
    std::shared_ptr<InMemoryEntry> getEntry(std::u16string_view path) const noexcept;

    /// A snapshot of the children of the folder at `path`, the root included, with their names left out; none without a
    /// folder there.
    /// @throws std::bad_alloc
    std::optional<InMemoryFolderEntry::LightWeightRepresentation>
    listFolder(const InMemoryEntryPath& path) const;

    /// Moves a file. A new node at `target` takes over the bytes and the writable flag; it and both parents are
    /// stamped with one reading of the clock. A replaced file is removed before the last checks, which are those of
    /// the two parents' flags. So a file moved onto itself, replacing allowed, is removed, and then not found.
    /// @throws EntryNotFoundException  naming the source's parent; `source`, when no file is there; the target's parent
    /// @throws EntryExistsException    naming `target`, when a folder is there, or a file and the policy refuses
    /// @throws ReadOnlyException       naming `target`, the target's parent or the source's parent
    void moveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                       const foundation::storage::provider::ReplacementPolicy& policy);

    /// Moves a folder and everything below it, folder by folder: new nodes take the place of the old ones, all of
    /// them and both parents stamped with one reading of the clock. Moved folders are writable, moved files keep
    /// their flag. A replaced empty folder is removed before the last checks.
    ///
    /// What is below `source` can stop the move where it is; what has been moved until then stays moved. A read-only
    /// folder does; and, because names can be empty, an entry whose new path is taken already or names no folder.
    /// @throws EntryNotFoundException   naming the source's parent; `source`, when no folder is there; the target's
    ///                                  parent; the folder that an entry below would have to go to
    /// @throws EntryExistsException     naming `target`, when a file is there, or a folder and the policy refuses, or
    ///                                  when it is `source` or below it; the new path of an entry below
    /// @throws FolderNotEmptyException  naming `target`
    /// @throws ReadOnlyException        naming `target`, a parent, `source`, or a folder below it
    void moveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                         const foundation::storage::provider::ReplacementPolicy& policy);

    /// Opens a file for reading and writing, creating and emptying it as `options` say. Stamps the file, and
    /// its parent when the file is created, with one reading of the clock.
    /// @throws EntryNotFoundException  naming the parent; `path`, when no file is there and it must exist
    /// @throws EntryExistsException    naming `path`, when a folder is there
    /// @throws ReadOnlyException       naming `path`; the parent, when the file would have to be created
    std::unique_ptr<foundation::storage::provider::ByteStream>
    checkOutFileEntry(const InMemoryEntryPath& path,
                      const foundation::storage::provider::ByteStreamOpenOptions& options);

    /// Opens a file for reading; changes nothing, and the writable flag does not matter.
    /// @throws EntryNotFoundException  naming the parent; `path`, when no file is there
    std::unique_ptr<foundation::storage::provider::ByteStream>
    checkOutFileEntry(const InMemoryEntryPath& path) const;

private:
    using FolderMap = LeftRightMap<InMemoryEntryPath, std::shared_ptr<InMemoryFolderEntry>,
                                   IndexedPathMap<std::shared_ptr<InMemoryFolderEntry>>>;
    using Child = InMemoryFolderEntry::Children::const_iterator;
    struct FolderMove;

    struct Found {
        bool hasParent = false; ///< whether the parent is a folder
        std::shared_ptr<InMemoryEntry> entry;
    };

    /// What is at the path with the text `path`, as the tree was at one moment of the call.
    Found lookUp(std::u16string_view path, PathSeqLock::Scope scope) const noexcept;

    /// Whether `folder` is the one that the map has at `path`.
    bool isFolderAt(std::u16string_view path, const InMemoryFolderEntry& folder) const noexcept;

    /// @throws EntryNotFoundException  naming the parent; `path`, when no file is there
    std::shared_ptr<InMemoryFileEntry> findFile(const InMemoryEntryPath& path) const;

    /// The folder whose mutex another thread holds for long, so that an attempt has changed nothing; null if the attempt
    /// succeeded.
    using Busy = std::shared_ptr<InMemoryFolderEntry>;

    /// Repeats `attempt`, which acquires `mutex_`, until it succeeds; waits in between for the folder that is busy.
    template <class Attempt>
    static void repeatWhileBusy(const Attempt& attempt) {
        while (const Busy busy = attempt()) {
            busy->waitUntilMutexIsFree();
        }
    }

    // Attempts at the operations above. They throw what these throw.
    Busy tryAddFolderEntry(const InMemoryEntryPath& path);
    /// @param path  given up only if the attempt succeeds or throws
    Busy tryAddFileEntry(InMemoryEntryPath& path);
    Busy tryRemoveFolderEntry(const InMemoryEntryPath& path);
    Busy tryRemoveFileEntry(const InMemoryEntryPath& path);
    Busy tryMoveFileEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                          const foundation::storage::provider::ReplacementPolicy& policy);
    Busy tryMoveFolderEntry(const InMemoryEntryPath& source, const InMemoryEntryPath& target,
                            const foundation::storage::provider::ReplacementPolicy& policy);
    Busy tryCheckOutFileEntry(const InMemoryEntryPath& path,
                              const foundation::storage::provider::ByteStreamOpenOptions& options,
                              std::unique_ptr<foundation::storage::provider::ByteStream>& stream);

    // The operations below require `mutex_`.

    /// The folder at `path`, or a null pointer. Valid until the map changes.
    const std::shared_ptr<InMemoryFolderEntry>* doGetFolderEntry(std::u16string_view path) const noexcept
        QZFL_REQUIRES(mutex_);
    void addFolderToFSMap(const std::shared_ptr<InMemoryFolderEntry>& folder) QZFL_REQUIRES(mutex_);
    /// The caller decides where what was removed dies.
    FolderMap::Element removeFolderFromFSMap(const InMemoryEntryPath& path) QZFL_REQUIRES(mutex_);

    /// Puts a new folder both among its parent's children and into the map, or, out of memory, nowhere.
    void linkFolder(InMemoryFolderEntry& parent, const std::shared_ptr<InMemoryFolderEntry>& folder)
        QZFL_REQUIRES(mutex_);

    /// Valid until the map changes.
    const std::shared_ptr<InMemoryFolderEntry>& requireParent(const InMemoryEntryPath& path) const
        QZFL_REQUIRES(mutex_);

    /// One of the folders that a move of the folder at `source` changes, if its mutex is taken; none if all are free.
    /// @throws std::bad_alloc
    Busy findBusyFolder(const std::shared_ptr<InMemoryFolderEntry>& sourceParent,
                        const std::shared_ptr<InMemoryFolderEntry>& targetParent,
                        const InMemoryEntryPath& source) const QZFL_REQUIRES(mutex_);

    /// Puts a new node at `target` in the place of `file`, which is a child of `sourceParent`.
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
    alignas(cacheLine) PathSeqLock changes_; ///< read by threads that do not take `mutex_`
};

} // namespace storage::inmemoryprovider
