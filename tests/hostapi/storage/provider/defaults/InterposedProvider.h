#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <memory>

namespace foundation::storage::provider {

/// Passes the operations that every provider implements on to another provider, after telling a test which
/// one is coming, so that the test can do there what another thread might do, or throw.
class InterposedProvider final : public IProvider {
public:
    enum class Operation {
        CreateFile,
        CreateFolder,
        RemoveFile,
        RemoveFolder,
        MoveFile,
        OpenStream,
        OpenReadOnlyStream,
        ListAll,
    };
    using Interposition = std::function<void(Operation, const StorageIRI&)>;

    InterposedProvider(std::shared_ptr<const IProvider> inner, Interposition before);

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
    void doSetWritable(const StorageIRI& iri, bool writable) const override;
    bool doHasFeature(const ExtendedFeature& feature) const override;

private:
    std::shared_ptr<const IProvider> inner_;
    Interposition before_;
};

} // namespace foundation::storage::provider
