#include "tests/host/validate/variants/CaseInsensitiveProvider.h"

#include "hostapi/storage/provider/ListingRange.h"
#include "tests/host/validate/faults/LocationParts.h"

using namespace foundation::storage::provider;
using faults::inLowerCase;
using faults::ListingOfEntries;

CaseInsensitiveProvider::CaseInsensitiveProvider() : AlteredProvider({.name = inLowerCase}) {}

void CaseInsensitiveProvider::doCreateFile(const StorageIRI& iri) const {
    const std::lock_guard lock(mutex_);
    AlteredProvider::doCreateFile(iri);
    noteName(iri);
}

void CaseInsensitiveProvider::doCreateFolder(const StorageIRI& iri) const {
    const std::lock_guard lock(mutex_);
    AlteredProvider::doCreateFolder(iri);
    noteName(iri);
}

void CaseInsensitiveProvider::doMoveFile(const StorageIRI& from, const StorageIRI& to,
                                         const Policy& policy) const {
    const std::lock_guard lock(mutex_);
    AlteredProvider::doMoveFile(from, to, policy);
    noteName(to);
}

void CaseInsensitiveProvider::doMoveFolder(const StorageIRI& from, const StorageIRI& to,
                                           const Policy& policy) const {
    const std::lock_guard lock(mutex_);
    AlteredProvider::doMoveFolder(from, to, policy);
    noteName(to);
    const std::u16string source = kept(from).getResolvedPath() + u"/";
    const std::u16string destination = kept(to).getResolvedPath() + u"/";
    std::map<std::u16string, std::u16string> moved;
    for (auto each = names_.lower_bound(source); each != names_.end() && each->first.starts_with(source);
         ++each) {
        moved[destination + each->first.substr(source.size())] = each->second;
    }
    moved.merge(names_);
    names_ = std::move(moved);
}

std::unique_ptr<ByteStream> CaseInsensitiveProvider::doOpenStream(const StorageIRI& iri,
                                                                  const OpenOptions& options) const {
    const std::lock_guard lock(mutex_);
    const bool existed = doFileExists(iri);
    auto stream = AlteredProvider::doOpenStream(iri, options);
    if (!existed) {
        noteName(iri);
    }
    return stream;
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::doListAll(const StorageIRI& iri) const {
    const std::lock_guard lock(mutex_);
    return named(iri, AlteredProvider::doListAll(iri));
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::doListFiles(const StorageIRI& iri) const {
    const std::lock_guard lock(mutex_);
    return named(iri, AlteredProvider::doListFiles(iri));
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::doListFolders(const StorageIRI& iri) const {
    const std::lock_guard lock(mutex_);
    return named(iri, AlteredProvider::doListFolders(iri));
}

IProvider::PathComparator CaseInsensitiveProvider::doGetPathComparator(const StorageIRI&) const {
    return [](std::u16string_view a, std::u16string_view b) {
        return inLowerCase(std::u16string(a)) < inLowerCase(std::u16string(b));
    };
}

FilenameSensitivity CaseInsensitiveProvider::doGetFilenameSensitivity(const StorageIRI&) const {
    return FilenameSensitivity::CaseInsensitive;
}

/// Records the name in `iri`, which later listings then return.
void CaseInsensitiveProvider::noteName(const StorageIRI& iri) const {
    names_[kept(iri).getResolvedPath()] = faults::nameOf(iri);
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::named(const StorageIRI& folder,
                                                                Listing listing) const {
    const std::u16string path = kept(folder).getResolvedPath();
    const std::u16string prefix = path == u"/" ? path : path + u"/";
    Alterations::Entries entries;
    for (const FolderEntry& entry : readEntries(std::move(listing))) {
        const auto found = names_.find(prefix + entry.getName());
        entries.emplace_back(found == names_.end() ? entry.getName() : found->second, entry.getType());
    }
    return std::make_unique<ListingOfEntries>(std::move(entries));
}
