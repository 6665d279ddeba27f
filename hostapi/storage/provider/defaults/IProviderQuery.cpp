#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/defaults/DerivedLocation.h"

#include <functional>
#include <string>

namespace foundation::storage::provider {

IProvider::PathComparator IProvider::doGetPathComparator(const StorageIRI&) const {
    return std::less<>();
}

StorageIRI IProvider::doGetCanonicalLocation(const StorageIRI& iri) const {
    return canonicalLocation(iri);
}

FilenameSensitivity IProvider::doGetFilenameSensitivity(const StorageIRI&) const {
    return FilenameSensitivity::CaseSensitive;
}

void IProvider::doShutdown() {}

bool IProvider::doExists(const StorageIRI& iri) const {
    return doFileExists(iri) || doFolderExists(iri);
}

EntryExistence IProvider::doExistsExtended(const StorageIRI& iri) const {
    if (doFileExists(iri)) {
        return EntryExistence::File;
    }
    return doFolderExists(iri) ? EntryExistence::Folder : EntryExistence::Missing;
}

ExtendedAttributes IProvider::doGetExtendedAttributes(const StorageIRI& iri) const {
    if (doFolderExists(iri)) {
        const FolderAttributes folder = doGetFolderAttributes(iri);
        return {FolderEntry::EntryType::Folder, 0, folder.getLastModified(), folder.isWritable()};
    }
    const FileAttributes file = doGetFileAttributes(iri);
    return {FolderEntry::EntryType::File, file.getSize(), file.getLastModified(), file.isWritable()};
}

} // namespace foundation::storage::provider
