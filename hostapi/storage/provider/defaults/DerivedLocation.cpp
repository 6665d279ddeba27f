#include "hostapi/storage/provider/defaults/DerivedLocation.h"

#include <string>
#include <utility>

namespace foundation::storage::provider {

namespace {

constexpr char16_t separator = u'/';

/// "/a/" has the form of a folder but names the entry "/a".
std::u16string withoutSeparatorAtEnd(std::u16string path) {
    if (path.ends_with(separator)) {
        path.pop_back();
    }
    return path;
}

} // namespace

bool isRoot(const StorageIRI& iri) {
    return !iri.hasParent() || iri.getResolvedPath().find_first_not_of(separator) == std::u16string::npos;
}

StorageIRI locationBelow(const StorageIRI& folder, std::u16string_view name) {
    std::u16string path = folder.getResolvedPath();
    if (!path.ends_with(separator) || path.ends_with(u"//")) {
        path += separator;
    }
    path += name;
    if (name.empty()) {
        path += separator; // a trailing separator does not change the entry
    }
    return StorageIRI(std::move(path));
}

StorageIRI folderOf(const StorageIRI& entry) {
    std::u16string path = withoutSeparatorAtEnd(entry.getResolvedPath());
    const auto last = path.rfind(separator);
    path.resize(last == std::u16string::npos ? 0 : last + 1);
    return StorageIRI(std::move(path));
}

StorageIRI locationBeside(const StorageIRI& entry, std::u16string_view name) {
    return StorageIRI(folderOf(entry).getResolvedPath() + std::u16string(name));
}

StorageIRI canonicalLocation(const StorageIRI& iri) {
    if (isRoot(iri)) {
        return StorageIRI(std::u16string(1, separator));
    }
    std::u16string path = iri.getResolvedPath();
    if (path.front() == separator) {
        path.erase(0, path.find_first_not_of(separator) - 1);
    }
    return StorageIRI(path.ends_with(u"//") ? path : withoutSeparatorAtEnd(path));
}

} // namespace foundation::storage::provider
