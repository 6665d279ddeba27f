#include "host/shell/StorageLookup.h"

#include "host/support/Utf.h"

namespace storage::host {

using foundation::storage::provider::StorageIRI;

std::vector<std::string> StorageLookup::names(const std::string& folder, Wanted wanted) const {
    const StorageIRI path = find(folder);
    const auto& provider = session_.provider();
    if (!provider.doFolderExists(path)) {
        return {};
    }
    std::vector<std::string> result;
    for (const std::u16string& name : wanted == Wanted::Folders ? provider.doListFoldersNamesOnly(path)
                                                                : provider.doListAllNamesOnly(path)) {
        if (auto text = toUtf8(name)) {
            result.push_back(*std::move(text));
        }
    }
    return result;
}

bool StorageLookup::exists(const std::string& path, Wanted wanted) const {
    return wanted == Wanted::Folders ? session_.provider().doFolderExists(find(path))
                                     : session_.provider().doExists(find(path));
}

StorageIRI StorageLookup::find(const std::string& path) const {
    return StoragePath::resolve(session_.currentFolder(), toUtf16(path)).iri();
}

} // namespace storage::host
