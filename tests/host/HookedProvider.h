#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <memory>

/// A provider that forwards everything to another one and calls hooks before every read and write of a
/// stream, so that a test can interfere exactly there.
class HookedProvider : public foundation::storage::provider::IProvider {
public:
    using StorageIRI = foundation::storage::provider::StorageIRI;
    using ByteStream = foundation::storage::provider::ByteStream;
    using Policy = foundation::storage::provider::ReplacementPolicy;
    using Listing = std::unique_ptr<foundation::storage::provider::IFolderEntryIterator>;

    explicit HookedProvider(std::shared_ptr<const IProvider> inner) : inner_(std::move(inner)) {}

    std::function<void()> beforeRead = [] {};
    std::function<void()> beforeWrite = [] {};

    void doCreateFile(const StorageIRI& iri) const override { inner_->doCreateFile(iri); }
    void doCreateFolder(const StorageIRI& iri) const override { inner_->doCreateFolder(iri); }
    bool doFileExists(const StorageIRI& iri) const override { return inner_->doFileExists(iri); }
    bool doFolderExists(const StorageIRI& iri) const override { return inner_->doFolderExists(iri); }
    void doRemoveFile(const StorageIRI& iri) const override { inner_->doRemoveFile(iri); }
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        inner_->doMoveFile(from, to, policy);
    }
    void doRemoveFolder(const StorageIRI& iri) const override { inner_->doRemoveFolder(iri); }
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        inner_->doMoveFolder(from, to, policy);
    }
    foundation::storage::provider::FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        return inner_->doGetFileAttributes(iri);
    }
    foundation::storage::provider::FolderAttributes
    doGetFolderAttributes(const StorageIRI& iri) const override {
        return inner_->doGetFolderAttributes(iri);
    }
    std::unique_ptr<ByteStream>
    doOpenStream(const StorageIRI& iri,
                 const foundation::storage::provider::ByteStreamOpenOptions& options) const override;
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override;
    Listing doListAll(const StorageIRI& iri) const override { return inner_->doListAll(iri); }
    Listing doListFiles(const StorageIRI& iri) const override { return inner_->doListFiles(iri); }
    Listing doListFolders(const StorageIRI& iri) const override { return inner_->doListFolders(iri); }
    void doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const override {
        inner_->doSetLastModified(iri, time);
    }
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        inner_->doSetWritable(iri, writable);
    }
    bool doHasFeature(const foundation::storage::provider::ExtendedFeature& feature) const override {
        return inner_->doHasFeature(feature);
    }

private:
    class HookedStream;

    std::shared_ptr<const IProvider> inner_;
};
