#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/WildcardPattern.h"
#include "hostapi/storage/provider/defaults/EntryList.h"
#include "hostapi/storage/provider/defaults/FolderTreeWalk.h"

#include <string_view>

namespace foundation::storage::provider {

namespace {

constexpr std::u16string_view everything = u"*";

EntryList listRecursively(const IProvider& provider, const StorageIRI& iri, const WildcardPattern& pattern) {
    EntryList entries;
    for (FolderTreeWalk walk(provider, iri); walk.advance();) {
        if (walk.event() != FolderTreeWalk::Event::FolderLeft && pattern.matches(walk.name())) {
            entries.emplace_back(walk.relativePath(), walk.event() == FolderTreeWalk::Event::FileMet
                                                          ? FolderEntry::EntryType::File
                                                          : FolderEntry::EntryType::Folder);
        }
    }
    return entries;
}

} // namespace

// The ABI passes callbacks and patterns by value, so that an override may keep them.
// NOLINTBEGIN(performance-unnecessary-value-param)

std::unique_ptr<IFolderEntryIterator> IProvider::doListAllWildcards(const StorageIRI& iri,
                                                                    std::u16string pattern) const {
    return listingOf(onlyMatching(readEntries(doListAll(iri)), WildcardPattern(pattern)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListFilesWildcards(const StorageIRI& iri,
                                                                      std::u16string pattern) const {
    return listingOf(onlyMatching(readEntries(doListFiles(iri)), WildcardPattern(pattern)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListFoldersWildcards(const StorageIRI& iri,
                                                                        std::u16string pattern) const {
    return listingOf(onlyMatching(readEntries(doListFolders(iri)), WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListAllNamesOnly(const StorageIRI& iri) const {
    return namesOf(readEntries(doListAll(iri)));
}

std::vector<std::u16string> IProvider::doListAllNamesOnlyWildcards(const StorageIRI& iri,
                                                                   std::u16string pattern) const {
    return namesOf(onlyMatching(readEntries(doListAll(iri)), WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListFoldersNamesOnly(const StorageIRI& iri) const {
    return namesOf(readEntries(doListFolders(iri)));
}

std::vector<std::u16string> IProvider::doListFoldersNamesOnlyWildcards(const StorageIRI& iri,
                                                                       std::u16string pattern) const {
    return namesOf(onlyMatching(readEntries(doListFolders(iri)), WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListFilesNamesOnly(const StorageIRI& iri) const {
    return namesOf(readEntries(doListFiles(iri)));
}

std::vector<std::u16string> IProvider::doListFilesNamesOnlyWildcards(const StorageIRI& iri,
                                                                     std::u16string pattern) const {
    return namesOf(onlyMatching(readEntries(doListFiles(iri)), WildcardPattern(pattern)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListAllRecursive(const StorageIRI& iri) const {
    return listingOf(listRecursively(*this, iri, WildcardPattern(everything)));
}

std::unique_ptr<IFolderEntryIterator> IProvider::doListAllRecursiveWildcards(const StorageIRI& iri,
                                                                             std::u16string pattern) const {
    return listingOf(listRecursively(*this, iri, WildcardPattern(pattern)));
}

std::vector<std::u16string> IProvider::doListAllRecursiveNamesOnly(const StorageIRI& iri) const {
    return namesOf(listRecursively(*this, iri, WildcardPattern(everything)));
}

std::vector<std::u16string> IProvider::doListAllRecursiveNamesOnlyWildcards(const StorageIRI& iri,
                                                                            std::u16string pattern) const {
    return namesOf(listRecursively(*this, iri, WildcardPattern(pattern)));
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace foundation::storage::provider
