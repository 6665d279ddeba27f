#pragma once

#include "Node.h"

#include <hostapi/storage/provider/IProvider.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace provider_template {

/// A storage of folders and files as a starting point for your own: the 18 operations that every provider
/// must implement. The other 33 have defaults in IProvider.
///
/// Owns a map from path to node. One mutex guards it; every operation holds the mutex while it uses the map.
/// Invariants: the root exists, and the parent of every other node is a folder in the map.
///
/// YOUR STORAGE: replace the map with it. Keep the order of each operation: check everything, then do
/// everything that can fail, then make the change. This order ensures that a failed operation changes
/// nothing.
class TemplateProvider final : public foundation::storage::provider::IProvider {
public:
    using ByteStream = foundation::storage::provider::ByteStream;
    using ByteStreamOpenOptions = foundation::storage::provider::ByteStreamOpenOptions;
    using ExtendedFeature = foundation::storage::provider::ExtendedFeature;
    using FileAttributes = foundation::storage::provider::FileAttributes;
    using FolderAttributes = foundation::storage::provider::FolderAttributes;
    using FolderEntry = foundation::storage::provider::FolderEntry;
    using IFolderEntryIterator = foundation::storage::provider::IFolderEntryIterator;
    using ReplacementPolicy = foundation::storage::provider::ReplacementPolicy;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    /// An empty storage: the root alone.
    TemplateProvider();

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    bool doFileExists(const StorageIRI& iri) const override;
    bool doFolderExists(const StorageIRI& iri) const override;
    void doRemoveFile(const StorageIRI& iri) const override;
    void doRemoveFolder(const StorageIRI& iri) const override;
    void doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                    const ReplacementPolicy& policy) const override;
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
    void doSetWritable(const StorageIRI& iri, bool writable) const override;
    bool doHasFeature(const ExtendedFeature& feature) const override;

private:
    using Nodes = std::map<std::u16string, Node>;

    // Precondition: the mutex is locked. Failures name the location `named`.
    Nodes::iterator require(const std::u16string& path, const StorageIRI& named) const;
    Nodes::iterator requireFile(const std::u16string& path, const StorageIRI& named) const;
    Nodes::iterator requireFolder(const std::u16string& path, const StorageIRI& named) const;
    Node& requireParent(const std::u16string& path, const StorageIRI& named) const;
    bool isEmpty(const std::u16string& folder) const;
    void add(const std::u16string& path, std::shared_ptr<FileBytes> content,
             const boost::posix_time::ptime& time, const StorageIRI& named) const;
    void relocate(Nodes::iterator node, std::u16string&& path, const boost::posix_time::ptime& time) const;

    /// Returns a folder and everything below it, at any depth.
    std::vector<Nodes::iterator> nodesFrom(const std::u16string& folder) const;

    // These lock the mutex.
    void create(const StorageIRI& iri, std::shared_ptr<FileBytes> content) const;
    std::vector<FolderEntry> entriesOf(const StorageIRI& iri) const;

    mutable std::mutex mutex_;
    mutable Nodes nodes_; ///< mutable, because all operations of the interface are const
};

} // namespace provider_template
