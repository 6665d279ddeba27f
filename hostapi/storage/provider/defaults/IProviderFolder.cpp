#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/defaults/DerivedLocation.h"
#include "hostapi/storage/provider/defaults/FolderTreeWalk.h"

#include <cstddef>
#include <string>

namespace foundation::storage::provider {

namespace {

void createFolderUnlessThere(const IProvider& provider, const StorageIRI& iri) {
    if (provider.doFolderExists(iri)) {
        return;
    }
    try {
        provider.doCreateFolder(iri);
    } catch (const Exception& failure) {
        const bool madeMeanwhile =
            failure.getErrorCode() == ErrorCode::AlreadyExists && provider.doFolderExists(iri);
        if (!madeMeanwhile) {
            throw;
        }
    }
}

/// Removes a visited file, or a folder after its content.
void removeVisited(const IProvider& provider, const FolderTreeWalk& walk) {
    try {
        if (walk.event() == FolderTreeWalk::Event::FileMet) {
            provider.doRemoveFile(walk.location());
        } else if (walk.event() == FolderTreeWalk::Event::FolderLeft) {
            provider.doRemoveFolder(walk.location());
        }
    } catch (const Exception& failure) {
        // An entry that is already gone is not a failure.
        if (failure.getErrorCode() != ErrorCode::NotFound) {
            throw;
        }
    }
}

} // namespace

void IProvider::doCreateFolderRecursive(const StorageIRI& iri) const {
    if (doFolderExists(iri)) {
        return;
    }
    const std::u16string& path = iri.getResolvedPath();
    // The part before a leading separator is the root, which always exists.
    for (std::size_t end = path.find(u'/', 1); end != std::u16string::npos; end = path.find(u'/', end + 1)) {
        createFolderUnlessThere(*this, StorageIRI(path.substr(0, end)));
    }
    createFolderUnlessThere(*this, iri);
}

void IProvider::doRemoveFolderRecursively(const StorageIRI& iri) const {
    for (FolderTreeWalk walk(*this, iri); walk.advance();) {
        removeVisited(*this, walk);
    }
    if (!isRoot(iri)) {
        doRemoveFolder(iri);
    }
}

} // namespace foundation::storage::provider
