#include "hostapi/storage/provider/defaults/DerivedLocation.h"

#include <string>
#include <utility>

namespace foundation::storage::provider {

namespace {

constexpr char16_t separator = u'/';

bool endsInSeparator(const std::u16string& path) {
    return !path.empty() && path.back() == separator;
}

} // namespace

StorageIRI locationBelow(const StorageIRI& folder, std::u16string_view relativePath) {
    std::u16string path = folder.getResolvedPath();
    if (!endsInSeparator(path)) {
        path += separator;
    }
    path += relativePath;
    return StorageIRI(std::move(path));
}

StorageIRI locationBeside(const StorageIRI& entry, std::u16string_view ending) {
    std::u16string path = entry.getResolvedPath();
    if (endsInSeparator(path)) {
        path.pop_back(); // "/a/" is spelled like a folder but is the entry "/a"
    }
    path += ending;
    return StorageIRI(std::move(path));
}

} // namespace foundation::storage::provider
