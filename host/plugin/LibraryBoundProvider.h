#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::host {

/// A provider out of a plug-in that keeps the plug-in's library loaded for as long as itself and any stream,
/// listing or path comparator that came out of it. Every operation is handed to the plug-in's own provider.
///
/// Shares the library and owns the provider. An exception of a class that the plug-in itself defines holds
/// nothing and must be gone before the last of them. Thread safety: as the plug-in's provider.
class LibraryBoundProvider final : public foundation::storage::provider::IProvider {
    using ByteStream = foundation::storage::provider::ByteStream;
    using ByteStreamOpenOptions = foundation::storage::provider::ByteStreamOpenOptions;
    using EntryExistence = foundation::storage::provider::EntryExistence;
    using ExtendedAttributes = foundation::storage::provider::ExtendedAttributes;
    using ExtendedFeature = foundation::storage::provider::ExtendedFeature;
    using FileAttributes = foundation::storage::provider::FileAttributes;
    using FilenameSensitivity = foundation::storage::provider::FilenameSensitivity;
    using FolderAttributes = foundation::storage::provider::FolderAttributes;
    using IFolderEntryIterator = foundation::storage::provider::IFolderEntryIterator;
    using ProviderStorageInfo = foundation::storage::provider::ProviderStorageInfo;
    using ReplacementPolicy = foundation::storage::provider::ReplacementPolicy;
    using StorageIRI = foundation::storage::provider::StorageIRI;

public:
    /// @param library   unloads the library when its last copy goes
    /// @param provider  made by that library, and held nowhere else
    LibraryBoundProvider(std::shared_ptr<void> library, std::shared_ptr<IProvider> provider) noexcept
        : library_(std::move(library)), provider_(std::move(provider)) {}

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    void doCreateFolderRecursive(const StorageIRI& iri) const override;
    bool doFileExists(const StorageIRI& iri) const override;
    bool doFolderExists(const StorageIRI& iri) const override;
    void doRemoveFile(const StorageIRI& iri) const override;
    void doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                    const ReplacementPolicy& policy) const override;
    void doRemoveFolder(const StorageIRI& iri) const override;
    void doRemoveFolderRecursively(const StorageIRI& iri) const override;
    void doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                      const ReplacementPolicy& policy) const override;
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override;
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override;
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const ByteStreamOpenOptions& options) const override;
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override;
    std::unique_ptr<ByteStream>
    doOpenTransactionalStream(const StorageIRI& iri, const ByteStreamOpenOptions& options) const override;
    std::unique_ptr<ByteStream>
    doOpenTransactionalStreamAtScratchLocation(const StorageIRI& iri, const StorageIRI& scratch,
                                               const ByteStreamOpenOptions& options) const override;
    std::unique_ptr<IFolderEntryIterator> doListAll(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListAllWildcards(const StorageIRI& iri,
                                                             std::u16string pattern) const override;
    std::unique_ptr<IFolderEntryIterator> doListFiles(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListFilesWildcards(const StorageIRI& iri,
                                                               std::u16string pattern) const override;
    std::unique_ptr<IFolderEntryIterator> doListFolders(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListFoldersWildcards(const StorageIRI& iri,
                                                                 std::u16string pattern) const override;
    std::vector<std::u16string> doListAllNamesOnly(const StorageIRI& iri) const override;
    std::vector<std::u16string> doListAllNamesOnlyWildcards(const StorageIRI& iri,
                                                            std::u16string pattern) const override;
    std::vector<std::u16string> doListFoldersNamesOnly(const StorageIRI& iri) const override;
    std::vector<std::u16string> doListFoldersNamesOnlyWildcards(const StorageIRI& iri,
                                                                std::u16string pattern) const override;
    std::vector<std::u16string> doListFilesNamesOnly(const StorageIRI& iri) const override;
    std::vector<std::u16string> doListFilesNamesOnlyWildcards(const StorageIRI& iri,
                                                              std::u16string pattern) const override;
    std::unique_ptr<IFolderEntryIterator> doListAllRecursive(const StorageIRI& iri) const override;
    std::unique_ptr<IFolderEntryIterator> doListAllRecursiveWildcards(const StorageIRI& iri,
                                                                      std::u16string pattern) const override;
    std::vector<std::u16string> doListAllRecursiveNamesOnly(const StorageIRI& iri) const override;
    std::vector<std::u16string> doListAllRecursiveNamesOnlyWildcards(const StorageIRI& iri,
                                                                     std::u16string pattern) const override;
    void doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                    const ReplacementPolicy& policy) const override;
    void doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination,
                          const ReplacementPolicy& policy, CopyProgress progress) const override;
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override;
    void doSetWritable(const StorageIRI& iri, bool writable) const override;
    void doPublishFolderEventsFor(const StorageIRI& iri, EventCallback callback) const override;
    void doPublishFileEventsFor(const StorageIRI& iri, EventCallback callback) const override;
    void doStopPublishingEventsFor(const StorageIRI& iri) const override;
    void doStartChangePollingMechanism(const StorageIRI& iri, EventCallback callback) const override;
    void doStopChangePollingMechanism(const StorageIRI& iri) const override;
    bool doHasFeature(const ExtendedFeature& feature) const override;
    PathComparator doGetPathComparator(const StorageIRI& iri) const override;
    StorageIRI doGetCanonicalLocation(const StorageIRI& iri) const override;
    FilenameSensitivity doGetFilenameSensitivity(const StorageIRI& iri) const override;
    void doShutdown() override;
    bool doExists(const StorageIRI& iri) const override;
    EntryExistence doExistsExtended(const StorageIRI& iri) const override;
    ExtendedAttributes doGetExtendedAttributes(const StorageIRI& iri) const override;
    ProviderStorageInfo doGetProviderStorageInfo(const StorageIRI& iri) const override;
    void doTruncateToSize(const StorageIRI& iri, unsigned long long size) const override;

private:
    std::shared_ptr<void> library_;
    std::shared_ptr<IProvider> provider_; // after the library, so that it goes first
};

} // namespace storage::host
