#pragma once

#include "hostapi/Export.h"
#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/ByteStreamOpenOptions.h"
#include "hostapi/storage/provider/EntryExistence.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ExtendedAttributes.h"
#include "hostapi/storage/provider/ExtendedFeature.h"
#include "hostapi/storage/provider/FileAttributes.h"
#include "hostapi/storage/provider/FilenameSensitivity.h"
#include "hostapi/storage/provider/FolderAttributes.h"
#include "hostapi/storage/provider/IFolderEntryIterator.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/StorageEventKind.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <boost/property_tree/ptree_fwd.hpp>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::storage::provider {

/// The interface of one kind of storage to a host: folders and files named by `StorageIRI`.
///
/// A plug-in implements the pure virtual operations. The others have defaults here that call only the pure
/// virtual ones. So they work on every provider, but other threads may act between these calls. A provider
/// that can do better overrides them.
///
/// The order of the operations is part of the ABI.
///
/// Failures: an operation that the storage refuses throws `Exception` with a code and the location concerned,
/// which is its first argument unless it says otherwise. The codes are `NotFound` (also for a name that the
/// storage cannot hold), `AlreadyExists`, `ReadOnly`, `FolderNotEmpty` and `NotOffered`. A failed system call
/// is `SystemError`, a failed allocation std::bad_alloc.
///
/// Thread safety: every operation but `doShutdown` is thread-safe.
///
/// Lifetime: streams and listings belong to the caller and may outlive the provider object. Provider,
/// streams and listings must all be destroyed before the library that made them is unloaded.
/// `ProviderEntryPoint` documents which other objects may outlive the library.
class QZFL_EXPORT IProvider {
public:
    /// Called for each change of a watched entry. `destination` is meaningful for a move only.
    using EventCallback =
        std::function<void(StorageEventKind kind, StorageIRI source, StorageIRI destination,
                           FolderEntry::EntryType type, const boost::property_tree::ptree& details)>;

    /// Called after each copied block with the number of bytes copied so far. Throwing ends the copy.
    using CopyProgress = std::function<void(unsigned long long bytesCopied)>;

    /// Whether the first path sorts before the second.
    using PathComparator = std::function<bool(std::u16string_view, std::u16string_view)>;

    IProvider() = default;
    IProvider(const IProvider&) = delete;
    IProvider& operator=(const IProvider&) = delete;
    virtual ~IProvider();

    /// Creates an empty, writable file with the current time.
    /// @param iri  where nothing exists yet, in an existing folder
    /// @throws Exception `NotFound` when the folder is missing, `AlreadyExists` when a file or folder exists
    ///         there, `ReadOnly` when the folder is read-only
    virtual void doCreateFile(const StorageIRI& iri) const = 0;

    /// Creates an empty, writable folder with the current time.
    /// @param iri  where nothing exists yet, in an existing folder
    /// @throws Exception as `doCreateFile`
    virtual void doCreateFolder(const StorageIRI& iri) const = 0;

    /// Creates a folder and every missing folder above it. An existing folder is no failure, even if another
    /// thread created it meanwhile. Not atomic: folders created before a failure stay.
    /// @param iri  the innermost folder
    /// @throws Exception `AlreadyExists` naming a file on the path; any other failure names the folder that
    ///         could not be created
    virtual void doCreateFolderRecursive(const StorageIRI& iri) const;

    /// Whether a file exists there. Never throws for a missing entry.
    /// @param iri  any location
    /// @return true for a file; false for a folder or a missing entry
    virtual bool doFileExists(const StorageIRI& iri) const = 0;

    /// Whether a folder exists there. Never throws for a missing entry.
    /// @param iri  any location
    /// @return true for a folder; false for a file or a missing entry
    virtual bool doFolderExists(const StorageIRI& iri) const = 0;

    /// Removes a file. Streams that are open on it stay usable.
    /// @param iri  a file
    /// @throws Exception `NotFound` when no file exists there, `ReadOnly` when the file or its folder is
    ///         read-only
    virtual void doRemoveFile(const StorageIRI& iri) const = 0;

    /// Moves a file. A failed move may lose the replaced file in two cases: the folder of the source is
    /// read-only, or source and destination are the same. After a failed allocation the file is at one of its
    /// two places; the in-memory provider then restores a replaced file, so nothing has changed.
    /// @param source       a file
    /// @param destination  its new location, in an existing folder
    /// @param policy       what to do when an entry exists there; a folder is never replaced
    /// @throws Exception `NotFound` when the source or the folder of the destination is missing, and
    ///         `ReadOnly` for a read-only folder or replaced file, both naming the source; `AlreadyExists`
    ///         for an entry that is not replaced, naming the destination
    virtual void doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                            const ReplacementPolicy& policy) const = 0;

    /// Removes an empty folder.
    /// @param iri  a folder
    /// @throws Exception `NotFound` when no folder exists there, `FolderNotEmpty` when it is not empty,
    ///         `ReadOnly` when it or its folder is read-only
    virtual void doRemoveFolder(const StorageIRI& iri) const = 0;

    /// Removes a folder and everything below it, children first. Not atomic: what was removed before a
    /// failure stays removed. An entry below it that another thread has already removed is not a failure. The
    /// root itself stays, only its content is removed. A location is the root if it has no parent or no name
    /// in its resolved path.
    /// @param iri  a folder
    /// @throws Exception as `doRemoveFile` and `doRemoveFolder`, naming the entry that could not be removed
    virtual void doRemoveFolderRecursively(const StorageIRI& iri) const;

    /// Moves a folder with everything below it; moved folders become writable, moved files keep their flag. A
    /// read-only folder below the source, or a failed allocation, may stop the move midway. What has been
    /// moved stays moved, and every entry is at its old or its new path. A failed move may lose the replaced
    /// empty folder when the source or its folder is read-only. When allocation fails before the source has
    /// taken its place, the in-memory provider restores it.
    /// @param source       a folder
    /// @param destination  its new location, in an existing folder
    /// @param policy       what to do when an entry exists there; only an empty folder is ever replaced
    /// @throws Exception as `doMoveFile`; also `AlreadyExists` when the destination is the source or below it
    virtual void doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                              const ReplacementPolicy& policy) const = 0;

    /// The attributes of a file. Not an atomic snapshot.
    /// @param iri  a file
    /// @return its size, last-modified time and writable flag
    /// @throws Exception `NotFound` when no file exists there
    virtual FileAttributes doGetFileAttributes(const StorageIRI& iri) const = 0;

    /// The attributes of a folder. Not an atomic snapshot.
    /// @param iri  a folder
    /// @return its last-modified time and writable flag
    /// @throws Exception `NotFound` when no folder exists there
    virtual FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const = 0;

    /// Opens a file for reading and writing, at its beginning.
    /// @param iri      a file, or where one is to be created
    /// @param options  whether a missing file is created, an existing one emptied, and where writes go
    /// @return the stream, owned by the caller
    /// @throws Exception `NotFound` when the folder is missing, or the file when it must exist;
    ///         `AlreadyExists` or `NotFound` when a folder exists there; `ReadOnly` when the file, or for a
    ///         new one its folder, is read-only
    virtual std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                                     const ByteStreamOpenOptions& options) const = 0;

    /// Opens a file for reading, at its beginning, even when it is read-only. The caller must not write to
    /// the stream.
    /// @param iri  a file
    /// @return the stream, owned by the caller
    /// @throws Exception `NotFound` when nothing exists there; a folder is refused as by `doOpenStream`
    virtual std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const = 0;

    /// Opens a stream that commits its writes atomically. Not offered by default.
    /// @param iri      a file
    /// @param options  as for `doOpenStream`
    /// @return the stream, owned by the caller
    /// @throws Exception `NotOffered`
    virtual std::unique_ptr<ByteStream> doOpenTransactionalStream(const StorageIRI& iri,
                                                                  const ByteStreamOpenOptions& options) const;

    /// Opens a stream that collects its writes elsewhere and commits them atomically. Not offered by default.
    /// @param iri      a file
    /// @param scratch  where they are collected
    /// @param options  as for `doOpenStream`
    /// @return the stream, owned by the caller
    /// @throws Exception `NotOffered`
    virtual std::unique_ptr<ByteStream>
    doOpenTransactionalStreamAtScratchLocation(const StorageIRI& iri, const StorageIRI& scratch,
                                               const ByteStreamOpenOptions& options) const;

    /// @name Listings
    /// Each is a snapshot of one folder, or of each folder in turn for the recursive ones. A listing yields
    /// files and folders (All), only files, or only folders. A wildcard pattern is matched against an entry's
    /// own name, as `WildcardPattern` does. NamesOnly returns names without kinds. A recursive listing yields
    /// each folder before its content, and every entry by its path relative to the listed folder, with "/"
    /// between the names. Its pattern selects what is yielded, not which folders are entered. A folder that
    /// is removed while the listing is made counts as empty.
    /// @{

    /// Files and folders in a folder.
    /// @param iri  a folder
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListAll(const StorageIRI& iri) const = 0;

    /// Files and folders with matching names in a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListAllWildcards(const StorageIRI& iri,
                                                                     std::u16string pattern) const;

    /// Files in a folder.
    /// @param iri  a folder
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListFiles(const StorageIRI& iri) const = 0;

    /// Files with matching names in a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListFilesWildcards(const StorageIRI& iri,
                                                                       std::u16string pattern) const;

    /// Folders in a folder.
    /// @param iri  a folder
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListFolders(const StorageIRI& iri) const = 0;

    /// Folders with matching names in a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListFoldersWildcards(const StorageIRI& iri,
                                                                         std::u16string pattern) const;

    /// The names of files and folders in a folder.
    /// @param iri  a folder
    /// @return the names, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListAllNamesOnly(const StorageIRI& iri) const;

    /// The matching names of files and folders in a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the names, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListAllNamesOnlyWildcards(const StorageIRI& iri,
                                                                    std::u16string pattern) const;

    /// The names of folders in a folder.
    /// @param iri  a folder
    /// @return the names, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListFoldersNamesOnly(const StorageIRI& iri) const;

    /// The matching names of folders in a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the names, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListFoldersNamesOnlyWildcards(const StorageIRI& iri,
                                                                        std::u16string pattern) const;

    /// The names of files in a folder.
    /// @param iri  a folder
    /// @return the names, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListFilesNamesOnly(const StorageIRI& iri) const;

    /// The matching names of files in a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the names, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListFilesNamesOnlyWildcards(const StorageIRI& iri,
                                                                      std::u16string pattern) const;

    /// Everything below a folder.
    /// @param iri  a folder
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListAllRecursive(const StorageIRI& iri) const;

    /// Everything with a matching name below a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the listing, before its first step, owned by the caller
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::unique_ptr<IFolderEntryIterator> doListAllRecursiveWildcards(const StorageIRI& iri,
                                                                              std::u16string pattern) const;

    /// The relative paths of everything below a folder.
    /// @param iri  a folder
    /// @return the paths, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListAllRecursiveNamesOnly(const StorageIRI& iri) const;

    /// The relative paths of everything with a matching name below a folder.
    /// @param iri      a folder
    /// @param pattern  of names
    /// @return the paths, in the order of the listing
    /// @throws Exception `NotFound` when no folder exists there
    virtual std::vector<std::u16string> doListAllRecursiveNamesOnlyWildcards(const StorageIRI& iri,
                                                                             std::u16string pattern) const;

    /// @}

    /// Copies a file's bytes into a new file, writable and with the current time. The bytes are copied to a
    /// temporary file in the folder of the destination, ".copy-" and 16 random hexadecimal digits, which is
    /// then moved to the destination. So the copy appears complete, a failure before that leaves the
    /// destination unchanged, and copying a file onto itself keeps its bytes. A failure removes the temporary
    /// file, unless the folder was moved or became read-only meanwhile, or the removal is out of memory as
    /// well.
    ///
    /// Copies at most as many bytes as the source has at the start. If the source changes meanwhile, each
    /// block is as it was when it was read, and bytes that are truncated before they are read are missing.
    ///
    /// Checked in this order: the source exists, the destination may be replaced, the destination is
    /// writable, its folder is writable.
    /// @param source       a file
    /// @param destination  the location of the copy, in an existing folder
    /// @param policy       what to do when an entry exists there
    /// @throws Exception as `doMoveFile`; naming the temporary file: `NotFound` when the storage refuses its
    ///         name or another thread has removed it, `AlreadyExists` when 100 names in turn are taken
    virtual void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                            const ReplacementPolicy& policy) const;

    /// As `doCopyFile`, and reports progress after each block, and once with 0 for an empty file.
    /// @param source       a file
    /// @param destination  the location of the copy, in an existing folder
    /// @param policy       what to do when an entry exists there
    /// @param progress     may be empty
    /// @throws Exception as `doCopyFile`; and whatever `progress` throws
    virtual void doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination,
                                  const ReplacementPolicy& policy, CopyProgress progress) const;

    /// Sets the last-modified time of a file or folder.
    /// @param iri   a file or folder
    /// @param time  UTC, to the microsecond
    /// @throws Exception `NotFound` when nothing exists there
    virtual void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const = 0;

    /// Sets the writable flag of a file or folder, even of a read-only one.
    /// @param iri       a file or folder
    /// @param writable  the new value
    /// @throws Exception `NotFound` when nothing exists there
    virtual void doSetWritable(const StorageIRI& iri, bool writable) const = 0;

    /// Reports changes in a folder. Not offered by default.
    /// @param iri       what to watch
    /// @param callback  called for each change
    /// @throws Exception `NotOffered`
    virtual void doPublishFolderEventsFor(const StorageIRI& iri, EventCallback callback) const;

    /// Reports changes of a file. Not offered by default.
    /// @param iri       what to watch
    /// @param callback  called for each change
    /// @throws Exception `NotOffered`
    virtual void doPublishFileEventsFor(const StorageIRI& iri, EventCallback callback) const;

    /// Stops reporting changes. Not offered by default.
    /// @param iri  what was watched
    /// @throws Exception `NotOffered`
    virtual void doStopPublishingEventsFor(const StorageIRI& iri) const;

    /// Starts polling for changes, for storages that do not report them. Not offered by default.
    /// @param iri       what to watch
    /// @param callback  called for each change
    /// @throws Exception `NotOffered`
    virtual void doStartChangePollingMechanism(const StorageIRI& iri, EventCallback callback) const;

    /// Stops polling for changes. Not offered by default.
    /// @param iri  what was watched
    /// @throws Exception `NotOffered`
    virtual void doStopChangePollingMechanism(const StorageIRI& iri) const;

    /// Whether the provider claims a feature. Never fails.
    /// @param feature  any number, also one without a name in `ExtendedFeature`
    /// @return false for every unknown feature
    virtual bool doHasFeature(const ExtendedFeature& feature) const = 0;

    /// The order of paths in this storage: by UTF-16 code units by default.
    /// @param iri  a location of the storage
    /// @return the order; it must not outlive the library
    virtual PathComparator doGetPathComparator(const StorageIRI& iri) const;

    /// The canonical location, from the resolved path alone: the root as "/", at most one separator at the
    /// beginning. A single separator at the end is removed. Two or more there, and separators within the
    /// path, do not change, because they may enclose empty names.
    /// @param iri  any location
    /// @return the location
    virtual StorageIRI doGetCanonicalLocation(const StorageIRI& iri) const;

    /// Whether names that differ only in case are different names. They are by default.
    /// @param iri  a location of the storage
    /// @return the sensitivity
    virtual FilenameSensitivity doGetFilenameSensitivity(const StorageIRI& iri) const;

    /// Called once, when no other operation is in progress or will follow. Does nothing by default.
    virtual void doShutdown();

    /// Whether a file or a folder exists there.
    /// @param iri  any location
    /// @return false for a missing entry
    virtual bool doExists(const StorageIRI& iri) const;

    /// The kind of the entry at a location.
    /// @param iri  any location
    /// @return `Missing`, `File` or `Folder`
    virtual EntryExistence doExistsExtended(const StorageIRI& iri) const;

    /// The attributes of a file or folder. Not an atomic snapshot.
    /// @param iri  a file or folder
    /// @return its kind, size, last-modified time and writable flag
    /// @throws Exception `NotFound` when nothing exists there
    virtual ExtendedAttributes doGetExtendedAttributes(const StorageIRI& iri) const;

    /// The capacity of the storage. Not offered by default.
    /// @param iri  a location of the storage
    /// @return capacity and available bytes
    /// @throws Exception `NotOffered`
    virtual ProviderStorageInfo doGetProviderStorageInfo(const StorageIRI& iri) const;

    /// Sets the size of an existing file: a shrinking file keeps its first bytes, a growing one is filled
    /// with zeros. Streams that are open on the file see the change. Not atomic: a shrinking file is emptied
    /// and rewritten from a copy of the remaining bytes in memory, and a failed growth keeps the zeros added
    /// so far. If two threads grow one file, it never exceeds the larger of both sizes. Bytes that another
    /// thread appends meanwhile may be lost. The file is opened for writing even if it already has the size,
    /// so its last-modified time changes as `doOpenStream` changes it.
    /// @param iri   a file
    /// @param size  the new size in bytes
    /// @throws Exception `NotFound` when no file exists there
    /// @throws std::length_error with the file unchanged when `size` is more than a `long` can hold; checked
    ///         after `NotFound`
    /// @throws Exception `ReadOnly` when the file is read-only; checked last
    virtual void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const;
};

} // namespace foundation::storage::provider
