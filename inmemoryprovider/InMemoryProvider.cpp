#include "inmemoryprovider/InMemoryProvider.h"

#include "inmemoryprovider/ErrorTranslation.h"
#include "inmemoryprovider/access/FileFolderEntryIterator.h"
#include "inmemoryprovider/access/is_file_or_folder_predicate.h"
#include "inmemoryprovider/access/is_file_predicate.h"
#include "inmemoryprovider/access/is_folder_predicate.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string_view>
#include <utility>

namespace storage::inmemoryprovider {

using provider::ByteStream;
using provider::ErrorCode;
using provider::Exception;
using provider::FileAttributes;
using provider::FolderAttributes;
using provider::IFolderEntryIterator;
using provider::StorageIRI;

namespace {

constexpr std::u16string_view rootPath = u"/";

InMemoryEntryPath pathOf(const StorageIRI& iri) {
    return InMemoryEntryPath(iri.getResolvedPath());
}

/// The text of `pathOf`, as a view into `iri`.
std::u16string_view pathTextOf(const StorageIRI& iri) {
    return InMemoryEntryPath::normalView(iri.getResolvedPath());
}

} // namespace

InMemoryProvider::InMemoryProvider() = default;
InMemoryProvider::~InMemoryProvider() = default;

void InMemoryProvider::doCreateFile(const StorageIRI& iri) const {
    translations::create.run(iri, [&] { fileSystem_.addFileEntry(pathOf(iri)); });
}

void InMemoryProvider::doCreateFolder(const StorageIRI& iri) const {
    translations::create.run(iri, [&] { fileSystem_.addFolderEntry(pathOf(iri)); });
}

bool InMemoryProvider::doFileExists(const StorageIRI& iri) const {
    if (isRootLocation(iri)) {
        return false;
    }
    return fileSystem_.hasFile(pathTextOf(iri));
}

bool InMemoryProvider::doFolderExists(const StorageIRI& iri) const {
    if (isRootLocation(iri)) {
        return true;
    }
    return fileSystem_.hasFolder(pathTextOf(iri));
}

void InMemoryProvider::doRemoveFile(const StorageIRI& iri) const {
    translations::removeFile.run(iri, [&] { fileSystem_.removeFileEntry(pathTextOf(iri)); });
}

void InMemoryProvider::doRemoveFolder(const StorageIRI& iri) const {
    translations::removeFolder.run(iri, [&] { fileSystem_.removeFolderEntry(pathOf(iri)); });
}

void InMemoryProvider::doMoveFile(const StorageIRI& source, const StorageIRI& destination,
                                  const ReplacementPolicy& policy) const {
    const auto sourcePath = pathOf(source);
    const auto destinationPath = pathOf(destination);
    translations::moveFile.run(source, destination,
                               [&] { fileSystem_.moveFileEntry(sourcePath, destinationPath, policy); });
}

void InMemoryProvider::doMoveFolder(const StorageIRI& source, const StorageIRI& destination,
                                    const ReplacementPolicy& policy) const {
    const auto sourcePath = pathOf(source);
    const auto destinationPath = pathOf(destination);
    translations::moveFolder.run(source, destination,
                                 [&] { fileSystem_.moveFolderEntry(sourcePath, destinationPath, policy); });
}

FileAttributes InMemoryProvider::doGetFileAttributes(const StorageIRI& iri) const {
    return translations::getAttributes.run(iri, [&] {
        const auto attributes = fileSystem_.getFileEntryAttributes(pathTextOf(iri));
        return FileAttributes(attributes.size, attributes.lastModified, attributes.writable);
    });
}

FolderAttributes InMemoryProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    if (isRootLocation(iri)) {
        const auto root = rootFolder();
        return FolderAttributes(root->getLastModifiedTime(), root->isWritable());
    }
    return translations::getAttributes.run(iri, [&] {
        const auto attributes = fileSystem_.getFolderEntryAttributes(pathTextOf(iri));
        return FolderAttributes(attributes.lastModified, attributes.writable);
    });
}

std::unique_ptr<ByteStream> InMemoryProvider::doOpenStream(const StorageIRI& iri,
                                                           const ByteStreamOpenOptions& options) const {
    return translations::openStream.run(
        iri, [&] { return fileSystem_.checkOutFileEntry(pathTextOf(iri), options); });
}

std::unique_ptr<ByteStream> InMemoryProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    return translations::openReadOnlyStream.run(
        iri, [&] { return fileSystem_.checkOutFileEntry(pathTextOf(iri)); });
}

std::unique_ptr<IFolderEntryIterator> InMemoryProvider::doListAll(const StorageIRI& iri) const {
    return list<is_file_or_folder_predicate>(iri);
}

std::unique_ptr<IFolderEntryIterator> InMemoryProvider::doListFiles(const StorageIRI& iri) const {
    return list<is_file_predicate>(iri);
}

std::unique_ptr<IFolderEntryIterator> InMemoryProvider::doListFolders(const StorageIRI& iri) const {
    return list<is_folder_predicate>(iri);
}

void InMemoryProvider::doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const {
    if (isRootLocation(iri)) {
        rootFolder()->setLastModifiedTime(time);
        return;
    }
    requireEntry(iri.getResolvedPath(), iri)->setLastModifiedTime(time);
}

void InMemoryProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    if (!iri.hasParent()) {
        rootFolder()->setWritable(writable);
        return;
    }
    requireEntry(iri.getPath(), iri)->setWritable(writable);
}

bool InMemoryProvider::doHasFeature(const ExtendedFeature& feature) const {
    return feature == ExtendedFeature::VolatileStorage;
}

bool InMemoryProvider::isRootLocation(const StorageIRI& iri) {
    return !iri.hasParent() || iri.getResolvedPath() == rootPath;
}

std::shared_ptr<InMemoryFolderEntry> InMemoryProvider::rootFolder() const {
    return fileSystem_.getFolderEntry(InMemoryEntryPath(std::u16string(rootPath)));
}

std::shared_ptr<InMemoryEntry> InMemoryProvider::requireEntry(std::u16string_view path,
                                                              const StorageIRI& iri) const {
    auto entry = fileSystem_.getEntry(InMemoryEntryPath::normalView(path));
    if (!entry) {
        throw Exception(ErrorCode::NotFound, iri);
    }
    return entry;
}

template <class Predicate>
std::unique_ptr<IFolderEntryIterator> InMemoryProvider::list(const StorageIRI& iri) const {
    auto listing = fileSystem_.listFolder(pathOf(iri));
    if (!listing) {
        throw Exception(ErrorCode::NotFound, iri);
    }
    return std::make_unique<FileFolderEntryIterator<Predicate>>(std::move(*listing));
}

} // namespace storage::inmemoryprovider
