#pragma once

#include "inmemoryprovider/filesystem/InMemoryFileSystem.h"

#include "hostapi/storage/provider/IProvider.h"

namespace storage::inmemoryprovider {

/// A storage that lives in memory, from the object's construction to its destruction.
///
/// Owns one file system and nothing else: each operation turns its locations into paths, calls the file
/// system and tells the host of failures in the host's terms. See IProvider for what the operations do.
///
/// Takes no lock of its own; the file system and its nodes guard themselves. Every operation is one step for the others;
/// the two setters are two, finding the entry and changing it, and so are lost on an entry that is moved in between.
///
/// Thread safety: every operation may be called from any number of threads.
class InMemoryProvider : public foundation::storage::provider::IProvider {
    using ByteStream = foundation::storage::provider::ByteStream;
    using ByteStreamOpenOptions = foundation::storage::provider::ByteStreamOpenOptions;
    using ExtendedFeature = foundation::storage::provider::ExtendedFeature;
    using FileAttributes = foundation::storage::provider::FileAttributes;
    using FolderAttributes = foundation::storage::provider::FolderAttributes;
    using IFolderEntryIterator = foundation::storage::provider::IFolderEntryIterator;
    using ReplacementPolicy = foundation::storage::provider::ReplacementPolicy;
    using StorageIRI = foundation::storage::provider::StorageIRI;

public:
    /// An empty storage: the root folder alone.
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

    /// Finds the entry by the location's own path, not its resolved one, and takes for the root only what has
    /// no parent.
    /// @param iri       a file or folder
    /// @param writable  what the flag is to be
    /// @throws Exception `NotFound` when nothing stands there
    void doSetWritable(const StorageIRI& iri, bool writable) const override;
    bool doHasFeature(const ExtendedFeature& feature) const override;

private:
    static bool isRootLocation(const StorageIRI& iri);
    std::shared_ptr<InMemoryFolderEntry> rootFolder() const;

    /// The entry at the path that is made of `path`, or an empty pointer; the root is never found.
    std::shared_ptr<InMemoryEntry> findEntry(std::u16string_view path) const;

    /// As findEntry, but a missing entry is the host's NotFound at `iri`.
    std::shared_ptr<InMemoryEntry> requireEntry(std::u16string_view path, const StorageIRI& iri) const;

    template <class Predicate>
    std::unique_ptr<IFolderEntryIterator> list(const StorageIRI& iri) const;

    /// Mutable, for the host's operations are const whatever they do to the storage.
    mutable InMemoryFileSystem fileSystem_;
};

} // namespace storage::inmemoryprovider
