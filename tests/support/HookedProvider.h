#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <memory>

/// Forwards the required operations to another provider and calls a hook before each. All other operations
/// are the host interface's defaults, so the hook is called for the operations that they call. Base class of
/// the test providers that change another provider's behaviour.
///
/// Shares the other provider. Its streams and listings borrow this object.
class HookedProvider : public foundation::storage::provider::IProvider {
public:
    using StorageIRI = foundation::storage::provider::StorageIRI;
    using ByteStream = foundation::storage::provider::ByteStream;
    using OpenOptions = foundation::storage::provider::ByteStreamOpenOptions;
    using Policy = foundation::storage::provider::ReplacementPolicy;
    using Listing = std::unique_ptr<foundation::storage::provider::IFolderEntryIterator>;
    /// Called with the name of the operation without "do" and its first location. Operations of streams and
    /// listings have the name of the member function.
    using Hook = std::function<void(const char* operation, const StorageIRI& iri)>;

    explicit HookedProvider(
        std::shared_ptr<const IProvider> inner, Hook hook = [](const char*, const StorageIRI&) {})
        : before(std::move(hook)), inner_(std::move(inner)) {}

    Hook before;                               ///< called before every operation
    std::function<void()> beforeRead = [] {};  ///< called before every read of a stream
    std::function<void()> beforeWrite = [] {}; ///< called before every write of a stream

    void doCreateFile(const StorageIRI& iri) const override;
    void doCreateFolder(const StorageIRI& iri) const override;
    bool doFileExists(const StorageIRI& iri) const override;
    bool doFolderExists(const StorageIRI& iri) const override;
    void doRemoveFile(const StorageIRI& iri) const override;
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
    void doRemoveFolder(const StorageIRI& iri) const override;
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override;
    foundation::storage::provider::FileAttributes doGetFileAttributes(const StorageIRI& iri) const override;
    foundation::storage::provider::FolderAttributes
    doGetFolderAttributes(const StorageIRI& iri) const override;
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override;
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override;
    Listing doListAll(const StorageIRI& iri) const override;
    Listing doListFiles(const StorageIRI& iri) const override;
    Listing doListFolders(const StorageIRI& iri) const override;
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override;
    void doSetWritable(const StorageIRI& iri, bool writable) const override;
    bool doHasFeature(const foundation::storage::provider::ExtendedFeature& feature) const override;
    void doShutdown() override;

private:
    class HookedStream;
    class HookedListing;

    Listing hooked(Listing listing, const StorageIRI& iri) const;

    std::shared_ptr<const IProvider> inner_;
};
