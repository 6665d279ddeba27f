#include "tests/hostapi/storage/provider/defaults/InterposedProvider.h"

#include <utility>

namespace foundation::storage::provider {

InterposedProvider::InterposedProvider(std::shared_ptr<const IProvider> inner, Interposition before)
    : inner_(std::move(inner)), before_(std::move(before)) {}

void InterposedProvider::doCreateFile(const StorageIRI& iri) const {
    before_(Operation::CreateFile, iri);
    inner_->doCreateFile(iri);
}

void InterposedProvider::doCreateFolder(const StorageIRI& iri) const {
    before_(Operation::CreateFolder, iri);
    inner_->doCreateFolder(iri);
}

bool InterposedProvider::doFileExists(const StorageIRI& iri) const {
    return inner_->doFileExists(iri);
}

bool InterposedProvider::doFolderExists(const StorageIRI& iri) const {
    return inner_->doFolderExists(iri);
}

void InterposedProvider::doRemoveFile(const StorageIRI& iri) const {
    before_(Operation::RemoveFile, iri);
    inner_->doRemoveFile(iri);
}

void InterposedProvider::doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                                    const ReplacementPolicy& policy) const {
    before_(Operation::MoveFile, source);
    inner_->doMoveFile(source, destination, policy);
}

void InterposedProvider::doRemoveFolder(const StorageIRI& iri) const {
    before_(Operation::RemoveFolder, iri);
    inner_->doRemoveFolder(iri);
}

void InterposedProvider::doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                                      const ReplacementPolicy& policy) const {
    inner_->doMoveFolder(source, destination, policy);
}

FileAttributes InterposedProvider::doGetFileAttributes(const StorageIRI& iri) const {
    return inner_->doGetFileAttributes(iri);
}

FolderAttributes InterposedProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    return inner_->doGetFolderAttributes(iri);
}

std::unique_ptr<ByteStream> InterposedProvider::doOpenStream(const StorageIRI& iri,
                                                             const ByteStreamOpenOptions& options) const {
    before_(Operation::OpenStream, iri);
    return inner_->doOpenStream(iri, options);
}

std::unique_ptr<ByteStream> InterposedProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    before_(Operation::OpenReadOnlyStream, iri);
    return inner_->doOpenReadOnlyStream(iri);
}

std::unique_ptr<IFolderEntryIterator> InterposedProvider::doListAll(const StorageIRI& iri) const {
    before_(Operation::ListAll, iri);
    return inner_->doListAll(iri);
}

std::unique_ptr<IFolderEntryIterator> InterposedProvider::doListFiles(const StorageIRI& iri) const {
    return inner_->doListFiles(iri);
}

std::unique_ptr<IFolderEntryIterator> InterposedProvider::doListFolders(const StorageIRI& iri) const {
    return inner_->doListFolders(iri);
}

void InterposedProvider::doSetLastModified(const StorageIRI& iri,
                                           const boost::posix_time::ptime& time) const {
    inner_->doSetLastModified(iri, time);
}

void InterposedProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    inner_->doSetWritable(iri, writable);
}

bool InterposedProvider::doHasFeature(const ExtendedFeature& feature) const {
    return inner_->doHasFeature(feature);
}

} // namespace foundation::storage::provider
