#pragma once

#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::inmemoryprovider {

/// A storage in memory, from the object's construction to its destruction.
///
/// Owns one file system and nothing else: each operation converts its locations to paths, calls the file
/// system and reports failures with the host's exceptions. See IProvider for the operations.
///
/// Has no lock of its own; the file system and its nodes have their own locks. For other threads, every
/// operation below is atomic, with two exceptions. The attributes of a file are read one by one. The two
/// setters first find the entry, then change it: a change is lost if the entry is moved in between.
///
/// Thread-safe.
class InMemoryProvider : public provider::IProvider {
    using ByteStream = provider::ByteStream;
    using ByteStreamOpenOptions = provider::ByteStreamOpenOptions;
    using ExtendedFeature = provider::ExtendedFeature;
    using FileAttributes = provider::FileAttributes;
    using FolderAttributes = provider::FolderAttributes;
    using IFolderEntryIterator = provider::IFolderEntryIterator;
    using ReplacementPolicy = provider::ReplacementPolicy;
    using StorageIRI = provider::StorageIRI;

public:
    /// An empty storage with only the root folder.
    InMemoryProvider();
    InMemoryProvider(const InMemoryProvider&) = delete;
    InMemoryProvider& operator=(const InMemoryProvider&) = delete;
    ~InMemoryProvider() override;

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    bool doFileExists(const StorageIRI& iri) const override;
    bool doFolderExists(const StorageIRI& iri) const override;
    void doRemoveFile(const StorageIRI& iri) const override;
    void doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                    const ReplacementPolicy& policy) const override;
    void doRemoveFolder(const StorageIRI& iri) const override;
    void doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                      const ReplacementPolicy& policy) const override;

    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override;
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override;
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const ByteStreamOpenOptions& options) const override;
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListAll(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListFiles(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListFolders(const StorageIRI& iri) const override;
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override;

    /// Finds the entry by the location's own path, not its resolved one. Only a location without a parent is
    /// the root.
    /// @param iri       a file or folder
    /// @param writable  new value of the flag
    /// @throws Exception `NotFound` when no entry exists there
    void doSetWritable(const StorageIRI& iri, bool writable) const override;
    bool doHasFeature(const ExtendedFeature& feature) const override;

private:
    static bool isRootLocation(const StorageIRI& iri);
    std::shared_ptr<InMemoryFolderEntry> rootFolder() const;

    /// The entry at the path that is constructed from `path`; never the root.
    /// @throws Exception  `NotFound` at `iri` if there is none
    std::shared_ptr<InMemoryEntry> requireEntry(std::u16string_view path, const StorageIRI& iri) const;

    template <class Predicate>
    std::unique_ptr<IFolderEntryIterator> list(const StorageIRI& iri) const;

    /// Mutable, because the host's operations are const even if they change the storage.
    mutable InMemoryFileSystem fileSystem_;
};

} // namespace storage::inmemoryprovider
