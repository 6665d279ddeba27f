#include "hostapi/storage/provider/defaults/DerivedLocation.h"

#include <string>
#include <utility>

namespace foundation::storage::provider {

namespace {

constexpr char16_t separator = u'/';

} // namespace

bool isRoot(const StorageIRI& iri) {
    return !iri.hasParent() || iri.getResolvedPath() == u"/";
}

StorageIRI locationBelow(const StorageIRI& folder, std::u16string_view relativePath) {
    std::u16string path = folder.getResolvedPath();
    if (!path.ends_with(separator)) {
        path += separator;
    }
    path += relativePath;
    return StorageIRI(std::move(path));
}

StorageIRI locationBeside(const StorageIRI& entry, std::u16string_view ending) {
    std::u16string path = entry.getResolvedPath();
    if (path.ends_with(separator)) {
        path.pop_back(); // "/a/" is spelled like a folder but is the entry "/a"
    }
    path += ending;
    return StorageIRI(std::move(path));
}

} // namespace foundation::storage::provider
