#include "host/plugin/LibraryBoundProvider.h"

#include <utility>

namespace storage::host {

using foundation::storage::provider::ByteStream;
using foundation::storage::provider::EntryExistence;
using foundation::storage::provider::ExtendedAttributes;
using foundation::storage::provider::FileAttributes;
using foundation::storage::provider::FilenameSensitivity;
using foundation::storage::provider::FolderAttributes;
using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IFolderEntryIterator;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::ProviderStorageInfo;
using foundation::storage::provider::StorageIRI;

namespace {

/// What `make` has the plug-in make, bound to its library. The memory for that is taken first: the plug-in must not have
/// done something that is then lost for want of it. A plug-in that gives nothing is told from one that gives something.
template <class Bound, class Make>
auto boundTo(const std::shared_ptr<void>& library, const Make& make) -> decltype(make()) {
    auto bound = std::make_unique<Bound>(library);
    return bound->take(make()) ? std::move(bound) : nullptr;
}

/// The library stands before what came out of it, and so goes after it.
class BoundStream final : public ByteStream {
public:
    explicit BoundStream(std::shared_ptr<void> library) noexcept : library_(std::move(library)) {}

    bool take(std::unique_ptr<ByteStream> stream) noexcept {
        stream_ = std::move(stream);
        return stream_ != nullptr;
    }

    long read(char* buffer, long count) override { return stream_->read(buffer, count); }
    long write(const char* buffer, long count) override { return stream_->write(buffer, count); }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        return stream_->seek(offset, direction);
    }
    void flush() override { stream_->flush(); }

private:
    std::shared_ptr<void> library_;
    std::unique_ptr<ByteStream> stream_;
};

/// As BoundStream.
class BoundListing final : public IFolderEntryIterator {
public:
    explicit BoundListing(std::shared_ptr<void> library) noexcept : library_(std::move(library)) {}

    bool take(std::unique_ptr<IFolderEntryIterator> listing) noexcept {
        listing_ = std::move(listing);
        return listing_ != nullptr;
    }

    FolderEntry getEntry() const override { return listing_->getEntry(); }
    bool hasNext() const override { return listing_->hasNext(); }
    void step() override { listing_->step(); }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return boundTo<BoundListing>(library_, [this] { return listing_->clone(); });
    }

private:
    std::shared_ptr<void> library_;
    std::unique_ptr<IFolderEntryIterator> listing_;
};

/// As BoundStream.
struct BoundComparator {
    std::shared_ptr<void> library;
    IProvider::PathComparator comparator;

    bool operator()(std::u16string_view first, std::u16string_view second) const {
        return comparator(first, second);
    }
};

} // namespace

void LibraryBoundProvider::doCreateFile(const StorageIRI& iri) const {
    provider_->doCreateFile(iri);
}

void LibraryBoundProvider::doCreateFolder(const StorageIRI& iri) const {
    provider_->doCreateFolder(iri);
}

void LibraryBoundProvider::doCreateFolderRecursive(const StorageIRI& iri) const {
    provider_->doCreateFolderRecursive(iri);
}

bool LibraryBoundProvider::doFileExists(const StorageIRI& iri) const {
    return provider_->doFileExists(iri);
}

bool LibraryBoundProvider::doFolderExists(const StorageIRI& iri) const {
    return provider_->doFolderExists(iri);
}

void LibraryBoundProvider::doRemoveFile(const StorageIRI& iri) const {
    provider_->doRemoveFile(iri);
}

void LibraryBoundProvider::doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                                      const ReplacementPolicy& policy) const {
    provider_->doMoveFile(source, destination, policy);
}

void LibraryBoundProvider::doRemoveFolder(const StorageIRI& iri) const {
    provider_->doRemoveFolder(iri);
}

void LibraryBoundProvider::doRemoveFolderRecursively(const StorageIRI& iri) const {
    provider_->doRemoveFolderRecursively(iri);
}

void LibraryBoundProvider::doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                                        const ReplacementPolicy& policy) const {
    provider_->doMoveFolder(source, destination, policy);
}

FileAttributes LibraryBoundProvider::doGetFileAttributes(const StorageIRI& iri) const {
    return provider_->doGetFileAttributes(iri);
}

FolderAttributes LibraryBoundProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    return provider_->doGetFolderAttributes(iri);
}

std::unique_ptr<ByteStream> LibraryBoundProvider::doOpenStream(const StorageIRI& iri,
                                                               const ByteStreamOpenOptions& options) const {
    return boundTo<BoundStream>(library_, [&] { return provider_->doOpenStream(iri, options); });
}

std::unique_ptr<ByteStream> LibraryBoundProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    return boundTo<BoundStream>(library_, [&] { return provider_->doOpenReadOnlyStream(iri); });
}

std::unique_ptr<ByteStream>
LibraryBoundProvider::doOpenTransactionalStream(const StorageIRI& iri,
                                                const ByteStreamOpenOptions& options) const {
    return boundTo<BoundStream>(library_, [&] { return provider_->doOpenTransactionalStream(iri, options); });
}

std::unique_ptr<ByteStream> LibraryBoundProvider::doOpenTransactionalStreamAtScratchLocation(
    const StorageIRI& iri, const StorageIRI& scratch, const ByteStreamOpenOptions& options) const {
    return boundTo<BoundStream>(library_, [&] {
        return provider_->doOpenTransactionalStreamAtScratchLocation(iri, scratch, options);
    });
}

std::unique_ptr<IFolderEntryIterator> LibraryBoundProvider::doListAll(const StorageIRI& iri) const {
    return boundTo<BoundListing>(library_, [&] { return provider_->doListAll(iri); });
}

std::unique_ptr<IFolderEntryIterator> LibraryBoundProvider::doListAllWildcards(const StorageIRI& iri,
                                                                               std::u16string pattern) const {
    return boundTo<BoundListing>(library_,
                                 [&] { return provider_->doListAllWildcards(iri, std::move(pattern)); });
}

std::unique_ptr<IFolderEntryIterator> LibraryBoundProvider::doListFiles(const StorageIRI& iri) const {
    return boundTo<BoundListing>(library_, [&] { return provider_->doListFiles(iri); });
}

std::unique_ptr<IFolderEntryIterator>
LibraryBoundProvider::doListFilesWildcards(const StorageIRI& iri, std::u16string pattern) const {
    return boundTo<BoundListing>(library_,
                                 [&] { return provider_->doListFilesWildcards(iri, std::move(pattern)); });
}

std::unique_ptr<IFolderEntryIterator> LibraryBoundProvider::doListFolders(const StorageIRI& iri) const {
    return boundTo<BoundListing>(library_, [&] { return provider_->doListFolders(iri); });
}

std::unique_ptr<IFolderEntryIterator>
LibraryBoundProvider::doListFoldersWildcards(const StorageIRI& iri, std::u16string pattern) const {
    return boundTo<BoundListing>(library_,
                                 [&] { return provider_->doListFoldersWildcards(iri, std::move(pattern)); });
}

std::vector<std::u16string> LibraryBoundProvider::doListAllNamesOnly(const StorageIRI& iri) const {
    return provider_->doListAllNamesOnly(iri);
}

std::vector<std::u16string> LibraryBoundProvider::doListAllNamesOnlyWildcards(const StorageIRI& iri,
                                                                              std::u16string pattern) const {
    return provider_->doListAllNamesOnlyWildcards(iri, std::move(pattern));
}

std::vector<std::u16string> LibraryBoundProvider::doListFoldersNamesOnly(const StorageIRI& iri) const {
    return provider_->doListFoldersNamesOnly(iri);
}

std::vector<std::u16string>
LibraryBoundProvider::doListFoldersNamesOnlyWildcards(const StorageIRI& iri, std::u16string pattern) const {
    return provider_->doListFoldersNamesOnlyWildcards(iri, std::move(pattern));
}

std::vector<std::u16string> LibraryBoundProvider::doListFilesNamesOnly(const StorageIRI& iri) const {
    return provider_->doListFilesNamesOnly(iri);
}

std::vector<std::u16string>
LibraryBoundProvider::doListFilesNamesOnlyWildcards(const StorageIRI& iri, std::u16string pattern) const {
    return provider_->doListFilesNamesOnlyWildcards(iri, std::move(pattern));
}

std::unique_ptr<IFolderEntryIterator> LibraryBoundProvider::doListAllRecursive(const StorageIRI& iri) const {
    return boundTo<BoundListing>(library_, [&] { return provider_->doListAllRecursive(iri); });
}

std::unique_ptr<IFolderEntryIterator>
LibraryBoundProvider::doListAllRecursiveWildcards(const StorageIRI& iri, std::u16string pattern) const {
    return boundTo<BoundListing>(
        library_, [&] { return provider_->doListAllRecursiveWildcards(iri, std::move(pattern)); });
}

std::vector<std::u16string> LibraryBoundProvider::doListAllRecursiveNamesOnly(const StorageIRI& iri) const {
    return provider_->doListAllRecursiveNamesOnly(iri);
}

std::vector<std::u16string>
LibraryBoundProvider::doListAllRecursiveNamesOnlyWildcards(const StorageIRI& iri,
                                                           std::u16string pattern) const {
    return provider_->doListAllRecursiveNamesOnlyWildcards(iri, std::move(pattern));
}

void LibraryBoundProvider::doCopyFile(const StorageIRI& source, const StorageIRI& destination,
                                      const ReplacementPolicy& policy) const {
    provider_->doCopyFile(source, destination, policy);
}

void LibraryBoundProvider::doCopyFileAtomic(const StorageIRI& source, const StorageIRI& destination,
                                            const ReplacementPolicy& policy, CopyProgress progress) const {
    provider_->doCopyFileAtomic(source, destination, policy, std::move(progress));
}

void LibraryBoundProvider::doSetLastModified(const StorageIRI& iri,
                                             const boost::posix_time::ptime& time) const {
    provider_->doSetLastModified(iri, time);
}

void LibraryBoundProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    provider_->doSetWritable(iri, writable);
}

void LibraryBoundProvider::doPublishFolderEventsFor(const StorageIRI& iri, EventCallback callback) const {
    provider_->doPublishFolderEventsFor(iri, std::move(callback));
}

void LibraryBoundProvider::doPublishFileEventsFor(const StorageIRI& iri, EventCallback callback) const {
    provider_->doPublishFileEventsFor(iri, std::move(callback));
}

void LibraryBoundProvider::doStopPublishingEventsFor(const StorageIRI& iri) const {
    provider_->doStopPublishingEventsFor(iri);
}

void LibraryBoundProvider::doStartChangePollingMechanism(const StorageIRI& iri,
                                                         EventCallback callback) const {
    provider_->doStartChangePollingMechanism(iri, std::move(callback));
}

void LibraryBoundProvider::doStopChangePollingMechanism(const StorageIRI& iri) const {
    provider_->doStopChangePollingMechanism(iri);
}

bool LibraryBoundProvider::doHasFeature(const ExtendedFeature& feature) const {
    return provider_->doHasFeature(feature);
}

IProvider::PathComparator LibraryBoundProvider::doGetPathComparator(const StorageIRI& iri) const {
    PathComparator comparator = provider_->doGetPathComparator(iri);
    return comparator ? BoundComparator{library_, std::move(comparator)} : PathComparator();
}

StorageIRI LibraryBoundProvider::doGetCanonicalLocation(const StorageIRI& iri) const {
    return provider_->doGetCanonicalLocation(iri);
}

FilenameSensitivity LibraryBoundProvider::doGetFilenameSensitivity(const StorageIRI& iri) const {
    return provider_->doGetFilenameSensitivity(iri);
}

void LibraryBoundProvider::doShutdown() {
    provider_->doShutdown();
}

bool LibraryBoundProvider::doExists(const StorageIRI& iri) const {
    return provider_->doExists(iri);
}

EntryExistence LibraryBoundProvider::doExistsExtended(const StorageIRI& iri) const {
    return provider_->doExistsExtended(iri);
}

ExtendedAttributes LibraryBoundProvider::doGetExtendedAttributes(const StorageIRI& iri) const {
    return provider_->doGetExtendedAttributes(iri);
}

ProviderStorageInfo LibraryBoundProvider::doGetProviderStorageInfo(const StorageIRI& iri) const {
    return provider_->doGetProviderStorageInfo(iri);
}

void LibraryBoundProvider::doTruncateToSize(const StorageIRI& iri, unsigned long long size) const {
    provider_->doTruncateToSize(iri, size);
}

} // namespace storage::host
