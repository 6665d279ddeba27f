#include "tests/host/validate/variants/CaseInsensitiveProvider.h"

#include "hostapi/storage/provider/ListingRange.h"
#include "tests/host/validate/faults/LocationParts.h"

using namespace foundation::storage::provider;
using faults::ListingOfEntries;

void CaseInsensitiveProvider::doCreateFile(const StorageIRI& iri) const {
    const auto lock = inTurn();
    AlteredProvider::doCreateFile(iri);
    noteName(iri);
}

void CaseInsensitiveProvider::doCreateFolder(const StorageIRI& iri) const {
    const auto lock = inTurn();
    AlteredProvider::doCreateFolder(iri);
    noteName(iri);
}

void CaseInsensitiveProvider::doRemoveFile(const StorageIRI& iri) const {
    const auto lock = inTurn();
    AlteredProvider::doRemoveFile(iri);
    forgetName(iri);
}

void CaseInsensitiveProvider::doRemoveFolder(const StorageIRI& iri) const {
    const auto lock = inTurn();
    AlteredProvider::doRemoveFolder(iri);
    forgetName(iri);
}

void CaseInsensitiveProvider::doMoveFile(const StorageIRI& from, const StorageIRI& to,
                                         const Policy& policy) const {
    const auto lock = inTurn();
    AlteredProvider::doMoveFile(from, to, policy);
    forgetName(from);
    noteName(to);
}

void CaseInsensitiveProvider::doMoveFolder(const StorageIRI& from, const StorageIRI& to,
                                           const Policy& policy) const {
    const auto lock = inTurn();
    AlteredProvider::doMoveFolder(from, to, policy);
    forgetName(from);
    noteName(to);
    const std::u16string source = kept(from).getResolvedPath() + u"/";
    const std::u16string destination = kept(to).getResolvedPath() + u"/";
    std::map<std::u16string, std::u16string> moved;
    for (auto each = names_.lower_bound(source); each != names_.end() && each->first.starts_with(source);
         each = names_.erase(each)) {
        moved[destination + each->first.substr(source.size())] = each->second;
    }
    names_.merge(moved);
}

std::unique_ptr<ByteStream> CaseInsensitiveProvider::doOpenStream(const StorageIRI& iri,
                                                                  const OpenOptions& options) const {
    const auto lock = inTurn();
    const bool existed = doFileExists(iri);
    auto stream = AlteredProvider::doOpenStream(iri, options);
    if (!existed) {
        noteName(iri);
    }
    return stream;
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::doListAll(const StorageIRI& iri) const {
    const auto lock = inTurn();
    return named(iri, AlteredProvider::doListAll(iri));
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::doListFiles(const StorageIRI& iri) const {
    const auto lock = inTurn();
    return named(iri, AlteredProvider::doListFiles(iri));
}

CaseInsensitiveProvider::Listing CaseInsensitiveProvider::doListFolders(const StorageIRI& iri) const {
    const auto lock = inTurn();
    return named(iri, AlteredProvider::doListFolders(iri));
}

IProvider::PathComparator CaseInsensitiveProvider::doGetPathComparator(const StorageIRI&) const {
    return [fold = fold_](std::u16string_view a, std::u16string_view b) {
        return fold(std::u16string(a)) < fold(std::u16string(b));
    };
}

FilenameSensitivity CaseInsensitiveProvider::doGetFilenameSensitivity(const StorageIRI&) const {
    return FilenameSensitivity::CaseInsensitive;
}

/// Locks `mutex_`. A thread in a loop cannot starve the others: while it waits for its turn, one of them gets
/// the mutex.
std::unique_lock<std::mutex> CaseInsensitiveProvider::inTurn() const {
    const std::lock_guard turn(turn_);
    return std::unique_lock(mutex_);
}

/// Records the name in `iri`, which later listings then return.
void CaseInsensitiveProvider::noteName(const StorageIRI& iri) const {
    names_[kept(iri).getResolvedPath()] = faults::nameOf(iri);
}

void CaseInsensitiveProvider::forgetName(const StorageIRI& iri) const {
    names_.erase(kept(iri).getResolvedPath());
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
