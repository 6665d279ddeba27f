#include "tests/host/validate/variants/AlteredProvider.h"

#include "hostapi/storage/provider/ListingRange.h"
#include "tests/host/validate/faults/LocationParts.h"

using namespace foundation::storage::provider;

namespace {

std::u16string withNames(const std::u16string& path, std::u16string (*name)(std::u16string)) {
    std::u16string kept;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find(u'/', begin), path.size());
        kept += name(path.substr(begin, end - begin));
        kept += end < path.size() ? u"/" : u"";
        begin = end + 1;
    }
    return kept;
}

} // namespace

StorageIRI AlteredProvider::kept(const StorageIRI& given) const {
    return changes_.name == nullptr
               ? given
               : StorageIRI(withNames(given.getResolvedPath(), changes_.name),
                            withNames(given.getPath(), changes_.name), given.hasParent());
}

/// Calls `action` with the locations as they are stored. Failures name the locations as they were given.
template <class Action, class... Iris>
auto AlteredProvider::at(const char* operation, const Action& action, const Iris&... given) const {
    if (changes_.before != nullptr) {
        changes_.before(operation);
    }
    const std::array locations{kept(given)...};
    try {
        return std::apply(action, locations);
    } catch (const Exception& failure) {
        const std::array<const StorageIRI*, sizeof...(given)> asGiven{&given...};
        const std::size_t first =
            failure.getErrorCode() == ErrorCode::AlreadyExists ? locations.size() - 1 : 0;
        for (const std::size_t i : {first, locations.size() - 1 - first}) {
            if (failure.getIRI() == locations[i]) {
                throw Exception(failure.getErrorCode(), *asGiven[i]);
            }
        }
        throw;
    }
}

/// @throws Exception `NotFound` with the location `named` if the storage refuses the name of `iri`
void AlteredProvider::requireName(const StorageIRI& iri, const StorageIRI& named) const {
    if (changes_.refuses != nullptr && changes_.refuses(faults::nameOf(iri))) {
        throw Exception(ErrorCode::NotFound, named);
    }
}

void AlteredProvider::doCreateFile(const StorageIRI& iri) const {
    at(
        "createFile",
        [&](const StorageIRI& where) {
            requireName(where, where);
            changes_.createFile != nullptr ? changes_.createFile(sound(), where)
                                           : sound().doCreateFile(where);
        },
        iri);
}

void AlteredProvider::doCreateFolder(const StorageIRI& iri) const {
    at(
        "createFolder",
        [&](const StorageIRI& where) {
            requireName(where, where);
            sound().doCreateFolder(where);
        },
        iri);
}

bool AlteredProvider::doFileExists(const StorageIRI& iri) const {
    return at(
        "fileExists", [&](const StorageIRI& where) { return sound().doFileExists(where); }, iri);
}

bool AlteredProvider::doFolderExists(const StorageIRI& iri) const {
    return at(
        "folderExists", [&](const StorageIRI& where) { return sound().doFolderExists(where); }, iri);
}

void AlteredProvider::doRemoveFile(const StorageIRI& iri) const {
    at(
        "removeFile", [&](const StorageIRI& where) { sound().doRemoveFile(where); }, iri);
}

void AlteredProvider::doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const {
    at(
        "moveFile",
        [&](const StorageIRI& source, const StorageIRI& destination) {
            requireName(destination, source);
            changes_.moveFile != nullptr ? changes_.moveFile(sound(), source, destination, policy)
                                         : sound().doMoveFile(source, destination, policy);
        },
        from, to);
}

void AlteredProvider::doRemoveFolder(const StorageIRI& iri) const {
    at(
        "removeFolder",
        [&](const StorageIRI& where) {
            changes_.removeFolder != nullptr ? changes_.removeFolder(sound(), where)
                                             : sound().doRemoveFolder(where);
        },
        iri);
}

void AlteredProvider::doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const {
    at(
        "moveFolder",
        [&](const StorageIRI& source, const StorageIRI& destination) {
            requireName(destination, source);
            changes_.moveFolder != nullptr ? changes_.moveFolder(sound(), source, destination, policy)
                                           : sound().doMoveFolder(source, destination, policy);
        },
        from, to);
}

FileAttributes AlteredProvider::doGetFileAttributes(const StorageIRI& iri) const {
    const FileAttributes attributes = at(
        "getFileAttributes", [&](const StorageIRI& where) { return sound().doGetFileAttributes(where); },
        iri);
    return changes_.timeOfEntry == nullptr
               ? attributes
               : FileAttributes(attributes.getSize(), changes_.timeOfEntry(attributes.getLastModified()),
                                attributes.isWritable());
}

FolderAttributes AlteredProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    const FolderAttributes attributes = at(
        "getFolderAttributes", [&](const StorageIRI& where) { return sound().doGetFolderAttributes(where); },
        iri);
    return changes_.timeOfEntry == nullptr
               ? attributes
               : FolderAttributes(changes_.timeOfEntry(attributes.getLastModified()),
                                  attributes.isWritable());
}

std::unique_ptr<ByteStream> AlteredProvider::doOpenStream(const StorageIRI& iri,
                                                          const OpenOptions& options) const {
    const bool appends = options.append == ByteStreamAppend::AppendAtEnd;
    auto stream = at(
        "openStream",
        [&](const StorageIRI& where) {
            requireName(where, where);
            return sound().doOpenStream(where, options);
        },
        iri);
    return changes_.stream == nullptr ? std::move(stream) : changes_.stream(std::move(stream), appends);
}

std::unique_ptr<ByteStream> AlteredProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    auto stream = at(
        "openReadOnlyStream", [&](const StorageIRI& where) { return sound().doOpenReadOnlyStream(where); },
        iri);
    return changes_.stream == nullptr ? std::move(stream) : changes_.stream(std::move(stream), false);
}

AlteredProvider::Listing AlteredProvider::doListAll(const StorageIRI& iri) const {
    return altered(at(
        "listAll", [&](const StorageIRI& where) { return sound().doListAll(where); }, iri));
}

AlteredProvider::Listing AlteredProvider::doListFiles(const StorageIRI& iri) const {
    return altered(at(
        "listFiles", [&](const StorageIRI& where) { return sound().doListFiles(where); }, iri));
}

AlteredProvider::Listing AlteredProvider::doListFolders(const StorageIRI& iri) const {
    return altered(at(
        "listFolders", [&](const StorageIRI& where) { return sound().doListFolders(where); }, iri));
}

AlteredProvider::Listing AlteredProvider::altered(Listing listing) const {
    if (changes_.entries != nullptr) {
        listing = std::make_unique<ListingOfEntries>(changes_.entries(readEntries(std::move(listing))));
    }
    return changes_.listing == nullptr ? std::move(listing) : changes_.listing(std::move(listing));
}

void AlteredProvider::doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const {
    at(
        "setLastModified",
        [&](const StorageIRI& where) {
            sound().doSetLastModified(where, changes_.timeSet == nullptr ? time : changes_.timeSet(time));
        },
        iri);
}

void AlteredProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    at(
        "setWritable", [&](const StorageIRI& where) { sound().doSetWritable(where, writable); }, iri);
}
