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
auto AlteredProvider::at(const Action& action, const Iris&... given) const {
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
        [&](const StorageIRI& where) {
            requireName(where, where);
            changes_.createFile != nullptr ? changes_.createFile(sound(), where)
                                           : HookedProvider::doCreateFile(where);
        },
        iri);
}

void AlteredProvider::doCreateFolder(const StorageIRI& iri) const {
    at(
        [&](const StorageIRI& where) {
            requireName(where, where);
            HookedProvider::doCreateFolder(where);
        },
        iri);
}

bool AlteredProvider::doFileExists(const StorageIRI& iri) const {
    return at([&](const StorageIRI& where) { return HookedProvider::doFileExists(where); }, iri);
}

bool AlteredProvider::doFolderExists(const StorageIRI& iri) const {
    return at([&](const StorageIRI& where) { return HookedProvider::doFolderExists(where); }, iri);
}

void AlteredProvider::doRemoveFile(const StorageIRI& iri) const {
    at([&](const StorageIRI& where) { HookedProvider::doRemoveFile(where); }, iri);
}

void AlteredProvider::doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const {
    at(
        [&](const StorageIRI& source, const StorageIRI& destination) {
            requireName(destination, source);
            changes_.moveFile != nullptr ? changes_.moveFile(sound(), source, destination, policy)
                                         : HookedProvider::doMoveFile(source, destination, policy);
        },
        from, to);
}

void AlteredProvider::doRemoveFolder(const StorageIRI& iri) const {
    at(
        [&](const StorageIRI& where) {
            changes_.removeFolder != nullptr ? changes_.removeFolder(sound(), where)
                                             : HookedProvider::doRemoveFolder(where);
        },
        iri);
}

void AlteredProvider::doMoveFolder(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const {
    at(
        [&](const StorageIRI& source, const StorageIRI& destination) {
            requireName(destination, source);
            changes_.moveFolder != nullptr ? changes_.moveFolder(sound(), source, destination, policy)
                                           : HookedProvider::doMoveFolder(source, destination, policy);
        },
        from, to);
}

FileAttributes AlteredProvider::doGetFileAttributes(const StorageIRI& iri) const {
    const FileAttributes attributes =
        at([&](const StorageIRI& where) { return HookedProvider::doGetFileAttributes(where); }, iri);
    return changes_.timeOfEntry == nullptr
               ? attributes
               : FileAttributes(attributes.getSize(), changes_.timeOfEntry(attributes.getLastModified()),
                                attributes.isWritable());
}

FolderAttributes AlteredProvider::doGetFolderAttributes(const StorageIRI& iri) const {
    const FolderAttributes attributes =
        at([&](const StorageIRI& where) { return HookedProvider::doGetFolderAttributes(where); }, iri);
    return changes_.timeOfEntry == nullptr
               ? attributes
               : FolderAttributes(changes_.timeOfEntry(attributes.getLastModified()),
                                  attributes.isWritable());
}

std::unique_ptr<ByteStream> AlteredProvider::doOpenStream(const StorageIRI& iri,
                                                          const OpenOptions& options) const {
    auto stream = at(
        [&](const StorageIRI& where) {
            requireName(where, where);
            before("openStream", where);
            return sound().doOpenStream(where, options);
        },
        iri);
    return changes_.stream == nullptr ? std::move(stream) : changes_.stream(std::move(stream));
}

std::unique_ptr<ByteStream> AlteredProvider::doOpenReadOnlyStream(const StorageIRI& iri) const {
    auto stream = at(
        [&](const StorageIRI& where) {
            before("openReadOnlyStream", where);
            return sound().doOpenReadOnlyStream(where);
        },
        iri);
    return changes_.stream == nullptr ? std::move(stream) : changes_.stream(std::move(stream));
}

AlteredProvider::Listing AlteredProvider::doListAll(const StorageIRI& iri) const {
    return altered(at(
        [&](const StorageIRI& where) {
            before("listAll", where);
            return sound().doListAll(where);
        },
        iri));
}

AlteredProvider::Listing AlteredProvider::doListFiles(const StorageIRI& iri) const {
    return altered(at(
        [&](const StorageIRI& where) {
            before("listFiles", where);
            return sound().doListFiles(where);
        },
        iri));
}

AlteredProvider::Listing AlteredProvider::doListFolders(const StorageIRI& iri) const {
    return altered(at(
        [&](const StorageIRI& where) {
            before("listFolders", where);
            return sound().doListFolders(where);
        },
        iri));
}

AlteredProvider::Listing AlteredProvider::altered(Listing listing) const {
    if (changes_.entries != nullptr) {
        listing =
            std::make_unique<faults::ListingOfEntries>(changes_.entries(readEntries(std::move(listing))));
    }
    return listing;
}

void AlteredProvider::doSetLastModified(const StorageIRI& iri, const boost::posix_time::ptime& time) const {
    at(
        [&](const StorageIRI& where) {
            HookedProvider::doSetLastModified(where,
                                              changes_.timeSet == nullptr ? time : changes_.timeSet(time));
        },
        iri);
}

void AlteredProvider::doSetWritable(const StorageIRI& iri, bool writable) const {
    at([&](const StorageIRI& where) { HookedProvider::doSetWritable(where, writable); }, iri);
}
