#include "host/shell/StorageLookup.h"

#include "host/support/Utf.h"

namespace storage::host {

std::vector<std::string> StorageLookup::names(const std::string& folder, Wanted wanted) const {
    const StoragePath path = find(folder);
    const SessionStorage& storage = session_.storageOf(path);
    std::vector<std::u16string> names;
    storage.attribute([&] {
        const auto& provider = storage.provider();
        if (provider.doFolderExists(path.iri())) {
            names = wanted == Wanted::Folders ? provider.doListFoldersNamesOnly(path.iri())
                                              : provider.doListAllNamesOnly(path.iri());
        }
    });
    std::vector<std::string> result;
    for (const std::u16string& name : names) {
        if (auto text = toUtf8(name)) {
            result.push_back(*std::move(text));
        }
    }
    return result;
}

bool StorageLookup::exists(const std::string& path, Wanted wanted) const {
    const StoragePath found = find(path);
    const SessionStorage& storage = session_.storageOf(found);
    bool result = false;
    storage.attribute([&] {
        result = wanted == Wanted::Folders ? storage.provider().doFolderExists(found.iri())
                                           : storage.provider().doExists(found.iri());
    });
    return result;
}

std::size_t StorageLookup::prefixLength(std::string_view word) const {
    return session_.prefixLength(word);
}

StoragePath StorageLookup::find(const std::string& path) const {
    return path.empty() ? session_.currentFolder() : session_.resolve(path);
}

} // namespace storage::host
