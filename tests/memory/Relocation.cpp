#include "tests/memory/Relocation.h"

#include "hostapi/storage/provider/ReplacementPolicy.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <vector>

namespace storage::tests {

using provider::IProvider;
using provider::ReplacementPolicy;

namespace {

bool holdsSomething(const IProvider& provider, const provider::StorageIRI& folder) {
    return provider.doFolderExists(folder) && provider.doListAll(folder)->hasNext();
}

} // namespace

Relocation relocate(const TreeSnapshot& tree, const std::u16string& source,
                    const std::u16string& destination) {
    Relocation relocation{{source, destination}};
    std::vector<std::u16string> folders{source};
    while (!folders.empty()) {
        const auto folder = folders.back();
        folders.pop_back();
        for (const auto& [path, entry] : tree) {
            if (path == u"/" || parentOf(path) != folder) {
                continue;
            }
            relocation[path] = relocation.at(folder) + path.substr(path.rfind(u'/'));
            if (entry.isFolder()) {
                folders.push_back(path);
            }
        }
    }
    return relocation;
}

void finishMove(const IProvider& provider, const TreeSnapshot& before, const Relocation& relocation) {
    // Folders sort before their entries.
    for (const auto& [from, to] : relocation) {
        const auto source = locationOf(from);
        const auto destination = locationOf(to);
        if (!before.at(from).isFolder()) {
            if (provider.doFileExists(source)) {
                provider.doMoveFile(source, destination, ReplacementPolicy::RefuseExisting);
            }
        } else if (provider.doFolderExists(source) && !holdsSomething(provider, destination)) {
            provider.doMoveFolder(source, destination, ReplacementPolicy::ReplaceExisting);
        }
    }
    for (auto entry = relocation.rbegin(); entry != relocation.rend(); ++entry) {
        const auto source = locationOf(entry->first);
        if (provider.doFolderExists(source)) {
            provider.doRemoveFolder(source);
        }
    }
}

} // namespace storage::tests
