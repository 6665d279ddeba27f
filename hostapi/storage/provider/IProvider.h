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

/// One kind of storage, as a host sees every kind: folders and files named by `StorageIRI`.
///
/// A plug-in implements the pure operations. The others have defaults here that are built from the pure ones
/// alone, so they work on every provider but are no more atomic than the operations they are made of; each
/// says so. A provider that can do better overrides them.
///
/// The order of the operations is part of the binary interface.
///
/// Failures: an operation that fails for a reason of the storage throws `Exception` with a code and the
/// location concerned; unless an operation says otherwise that is its first location, and the codes are
/// `NotFound`, `AlreadyExists`, `ReadOnly` and `FolderNotEmpty`. Running out of memory is std::bad_alloc.
///
/// Thread safety: every operation but `doShutdown` may be called from any number of threads at once.
///
/// Lifetime: streams and listings belong to the caller and may outlive the provider object, but provider,
/// streams and listings must all be destroyed before the library that made them is unloaded. `ProviderEntryPoint`
/// says of everything else whether it may outlive the library.
class QZFL_EXPORT IProvider {
public:
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

    /// Makes an empty, writable file.
    virtual void doCreateFile(const StorageIRI& iri) const = 0;

    /// Makes an empty, writable folder.
    virtual void doCreateFolder(const StorageIRI& iri) const = 0;

    /// Makes a folder and every missing folder above it. A folder that is already there is no failure, also
    /// when another thread made it meanwhile; a file in the way is `AlreadyExists` naming the file's
    /// location, and any other failure names the folder that could not be made. Not atomic: folders made
    /// before a failure stay.
    virtual void doCreateFolderRecursive(const StorageIRI& iri) const;

    /// Whether a file stands at `iri`. Never throws for a missing entry.
    virtual bool doFileExists(const StorageIRI& iri) const = 0;

    /// Whether a folder stands at `iri`. Never throws for a missing entry.
    virtual bool doFolderExists(const StorageIRI& iri) const = 0;

    /// Removes a file. Streams that are open on it stay usable.
    virtual void doRemoveFile(const StorageIRI& iri) const = 0;

    /// Moves a file. A missing source, or destination folder, is `NotFound` and a read-only folder or
    /// replaced file `ReadOnly`, both naming the source; an entry in the way is `AlreadyExists` naming the
    /// destination. A file that is to be replaced may be gone although the move then fails: when the folder
    /// of the source turns out to be read-only, when the file was to replace itself, or out of memory.
    virtual void doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                            const ReplacementPolicy& policy) const = 0;

    /// Removes an empty folder; one that holds anything is `FolderNotEmpty`.
    virtual void doRemoveFolder(const StorageIRI& iri) const = 0;

    /// Removes a folder and everything below it, children first. Not atomic: a failure names the entry that
    /// could not be removed, and what was removed before it is gone. An entry below that another thread has
    /// removed already is no failure. Of the root, only what it holds is removed.
    virtual void doRemoveFolderRecursively(const StorageIRI& iri) const;

    /// Moves a folder with everything below it; moved folders become writable, moved files keep their flag.
    /// Failures as for `doMoveFile`; a destination folder that holds anything, or a destination that is the
    /// source or lies below it, is `AlreadyExists` too. A read-only folder below the source, or running out of
    /// memory, may stop the move midway: what has been moved stays moved, and nothing else is lost than an
    /// empty folder that was to be replaced.
    virtual void doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                              const ReplacementPolicy& policy) const = 0;

    /// The attributes of a file. A folder at `iri` is `NotFound`. Not one atomic snapshot.
    virtual FileAttributes doGetFileAttributes(const StorageIRI& iri) const = 0;

    /// The attributes of a folder. A file at `iri` is `NotFound`. Not one atomic snapshot.
    virtual FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const = 0;

    /// Opens a file for reading and writing.
    virtual std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                                     const ByteStreamOpenOptions& options) const = 0;

    /// Opens a file for reading. The caller keeps writes away from the stream.
    virtual std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const = 0;

    /// Not offered by default: throws `NotOffered`.
    virtual std::unique_ptr<ByteStream> doOpenTransactionalStream(const StorageIRI& iri,
                                                                  const ByteStreamOpenOptions& options) const;

    /// Not offered by default: throws `NotOffered`.
    virtual std::unique_ptr<ByteStream>
    doOpenTransactionalStreamAtScratchLocation(const StorageIRI& iri, const StorageIRI& scratch,
                                               const ByteStreamOpenOptions& options) const;

    // Listings. Each is a snapshot of one folder, or of each folder in turn for the recursive ones. A listing
    // yields files and folders (All), files or folders. A wildcard pattern is matched against an entry's own
    // name, as `WildcardPattern` does. NamesOnly gives the names without the kinds. A recursive listing
    // yields each folder before what it holds and every entry by its path relative to `iri`, with "/" between
    // the names; its pattern chooses what is yielded, not which folders are entered, and a folder that is
    // removed while the listing is made counts as empty. Listing a file or a missing folder is `NotFound`.

    virtual std::unique_ptr<IFolderEntryIterator> doListAll(const StorageIRI& iri) const = 0;
    virtual std::unique_ptr<IFolderEntryIterator> doListAllWildcards(const StorageIRI& iri,
                                                                     std::u16string pattern) const;
    virtual std::unique_ptr<IFolderEntryIterator> doListFiles(const StorageIRI& iri) const = 0;
    virtual std::unique_ptr<IFolderEntryIterator> doListFilesWildcards(const StorageIRI& iri,
                                                                       std::u16string pattern) const;
    virtual std::unique_ptr<IFolderEntryIterator> doListFolders(const StorageIRI& iri) const = 0;
    virtual std::unique_ptr<IFolderEntryIterator> doListFoldersWildcards(const StorageIRI& iri,
                                                                         std::u16string pattern) const;
    virtual std::vector<std::u16string> doListAllNamesOnly(const StorageIRI& iri) const;
    virtual std::vector<std::u16string> doListAllNamesOnlyWildcards(const StorageIRI& iri,
                                                                    std::u16string pattern) const;
    virtual std::vector<std::u16string> doListFoldersNamesOnly(const StorageIRI& iri) const;
    virtual std::vector<std::u16string> doListFoldersNamesOnlyWildcards(const StorageIRI& iri,
                                                                        std::u16string pattern) const;
    virtual std::vector<std::u16string> doListFilesNamesOnly(const StorageIRI& iri) const;
    virtual std::vector<std::u16string> doListFilesNamesOnlyWildcards(const StorageIRI& iri,
                                                                      std::u16string pattern) const;
    virtual std::unique_ptr<IFolderEntryIterator> doListAllRecursive(const StorageIRI& iri) const;
    virtual std::unique_ptr<IFolderEntryIterator> doListAllRecursiveWildcards(const StorageIRI& iri,
                                                                              std::u16string pattern) const;
    virtual std::vector<std::u16string> doListAllRecursiveNamesOnly(const StorageIRI& iri) const;
    virtual std::vector<std::u16string> doListAllRecursiveNamesOnlyWildcards(const StorageIRI& iri,
                                                                             std::u16string pattern) const;

    /// Copies a file's bytes into a file of its own at `destination`, writable and with the current time.
    /// Failures as for `doMoveFile`. The bytes are copied to a temporary file in the same folder, which is then
    /// moved to the destination; so the copy is complete when it appears, a failure before that leaves the
    /// destination as it was, and copying a file onto itself keeps its bytes. A failure removes the temporary
    /// file unless the folder was moved or has become read-only meanwhile, or memory has run out for the removal
    /// too.
    virtual void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                            const ReplacementPolicy& policy) const;

    /// As `doCopyFile`, telling `progress` (which may be empty) how far it is.
    virtual void doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination,
                                  const ReplacementPolicy& policy, CopyProgress progress) const;

    /// Sets the last-modified time of a file or folder.
    /// @param time  UTC, to the microsecond
    virtual void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const = 0;

    /// Sets the writable flag of a file or folder.
    virtual void doSetWritable(const StorageIRI& iri, bool writable) const = 0;

    /// Not offered by default: throws `NotOffered`.
    virtual void doPublishFolderEventsFor(const StorageIRI& iri, EventCallback callback) const;

    /// Not offered by default: throws `NotOffered`.
    virtual void doPublishFileEventsFor(const StorageIRI& iri, EventCallback callback) const;

    /// Not offered by default: throws `NotOffered`.
    virtual void doStopPublishingEventsFor(const StorageIRI& iri) const;

    /// Not offered by default: throws `NotOffered`.
    virtual void doStartChangePollingMechanism(const StorageIRI& iri, EventCallback callback) const;

    /// Not offered by default: throws `NotOffered`.
    virtual void doStopChangePollingMechanism(const StorageIRI& iri) const;

    /// Whether the provider claims `feature`. Never fails.
    virtual bool doHasFeature(const ExtendedFeature& feature) const = 0;

    /// The order of paths in this storage: by UTF-16 code units.
    virtual PathComparator doGetPathComparator(const StorageIRI& iri) const;

    /// The location by its resolved path alone, the root as "/". Other spellings of a path are left as they are.
    virtual StorageIRI doGetCanonicalLocation(const StorageIRI& iri) const;

    /// Names are case-sensitive by default.
    virtual FilenameSensitivity doGetFilenameSensitivity(const StorageIRI& iri) const;

    /// Called once, when no other operation is under way or to come. Nothing to do by default.
    virtual void doShutdown();

    /// Whether a file or a folder stands at `iri`.
    virtual bool doExists(const StorageIRI& iri) const;

    /// What stands at `iri`.
    virtual EntryExistence doExistsExtended(const StorageIRI& iri) const;

    /// The attributes of a file or folder. Not one atomic snapshot.
    virtual ExtendedAttributes doGetExtendedAttributes(const StorageIRI& iri) const;

    /// Not offered by default: throws `NotOffered`.
    virtual ProviderStorageInfo doGetProviderStorageInfo(const StorageIRI& iri) const;

    /// Gives an existing file `size` bytes: a shrinking file keeps its first bytes, a growing one is filled
    /// with zeros. Streams that are open on the file see the change. Not atomic: a shrinking file is emptied
    /// and rewritten from a copy of the bytes that stay, which is held in memory meanwhile; growth that fails
    /// keeps the zeros added so far.
    /// @throws std::length_error with the file unchanged when `size` is more than a `long` can hold
    virtual void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const;
};

} // namespace foundation::storage::provider
