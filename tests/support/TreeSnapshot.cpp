#include "tests/support/TreeSnapshot.h"

#include "host/support/FileTime.h"
#include "host/support/Utf.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <utility>
#include <vector>

using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;

namespace {

using Kind = EntrySnapshot::Kind;

constexpr std::u16string_view root = u"/";

/// The possible paths of an entry of `folder` with this name: with one separator in between, or with two,
/// unless `folder` is the root.
std::vector<std::u16string> possiblePaths(const std::u16string& folder, const std::u16string& name) {
    if (folder == root) {
        return {folder + name};
    }
    std::vector<std::u16string> paths{folder + u"//" + name};
    if (folder.back() != u'/') {
        paths.push_back(folder + u"/" + name);
    }
    return paths;
}

std::vector<std::u16string> pathsOf(const IProvider& provider, const std::u16string& folder,
                                    const FolderEntry& listed) {
    auto paths = possiblePaths(folder, listed.getName());
    std::erase_if(paths, [&](const std::u16string& path) {
        const StorageIRI iri = locationOf(path);
        return listed.getType() == Kind::Folder ? !provider.doFolderExists(iri) : !provider.doFileExists(iri);
    });
    return paths;
}

std::multiset<std::pair<std::u16string, Kind>> listed(const IProvider& provider,
                                                      const std::u16string& folder) {
    std::multiset<std::pair<std::u16string, Kind>> entries;
    const auto listing = provider.doListAll(locationOf(folder));
    while (listing->hasNext()) {
        listing->step();
        const auto entry = listing->getEntry();
        entries.emplace(entry.getName(), entry.getType());
    }
    return entries;
}

EntrySnapshot folderAt(const IProvider& provider, const std::u16string& path) {
    const auto attributes = provider.doGetFolderAttributes(locationOf(path));
    return {Kind::Folder, attributes.getLastModified(), attributes.isWritable(), {}};
}

EntrySnapshot fileAt(const IProvider& provider, const std::u16string& path) {
    const auto iri = locationOf(path);
    const auto attributes = provider.doGetFileAttributes(iri);
    const auto size = static_cast<long>(attributes.getSize());
    std::string bytes(attributes.getSize() + 1, '\0'); // the extra byte detects a longer file
    const long count = provider.doOpenReadOnlyStream(iri)->read(bytes.data(), size + 1);
    EXPECT_EQ(count, size == 0 ? -1 : size) << testing::PrintToString(path);
    bytes.resize(attributes.getSize());
    return {Kind::File, attributes.getLastModified(), attributes.isWritable(), bytes};
}

/// Adds the entries of a folder.
/// @return the folders among them
std::vector<std::u16string> addEntriesOf(const IProvider& provider, const std::u16string& folder,
                                         TreeSnapshot& tree) {
    std::vector<std::u16string> folders;
    const auto entries = listed(provider, folder);
    for (auto entry = entries.begin(); entry != entries.end(); entry = entries.upper_bound(*entry)) {
        const auto& [name, kind] = *entry;
        const auto paths = pathsOf(provider, folder, FolderEntry(name, kind));
        EXPECT_EQ(paths.size(), entries.count(*entry))
            << "listed in " << testing::PrintToString(folder) << " as " << testing::PrintToString(name);
        for (const auto& path : paths) {
            tree[path] = kind == Kind::Folder ? folderAt(provider, path) : fileAt(provider, path);
            if (kind == Kind::Folder) {
                folders.push_back(path);
            }
        }
    }
    return folders;
}

} // namespace

void PrintTo(const EntrySnapshot& entry, std::ostream* out) {
    constexpr std::size_t shown = 100;
    *out << (entry.isWritable ? "writable " : "read-only ") << (entry.isFolder() ? "folder" : "file")
         << " of " << storage::host::formatMicroseconds(entry.lastModified);
    if (!entry.isFolder()) {
        *out << " with " << entry.bytes.size() << " bytes \""
             << storage::host::printable(entry.bytes.substr(0, shown)) << '"';
    }
}

TreeSnapshot takeSnapshot(const IProvider& provider) {
    TreeSnapshot tree;
    std::vector<std::u16string> folders{std::u16string(root)};
    tree[folders.front()] = folderAt(provider, folders.front());
    while (!folders.empty()) {
        const auto folder = std::move(folders.back());
        folders.pop_back();
        const auto below = addEntriesOf(provider, folder, tree);
        folders.insert(folders.end(), below.begin(), below.end());
    }
    return tree;
}

TreeSnapshot withoutTimes(TreeSnapshot tree) {
    for (auto& [path, entry] : tree) {
        entry.lastModified = {};
    }
    return tree;
}

StorageIRI locationOf(std::u16string_view path) {
    std::u16string spelled(path);
    if (path != root && path.ends_with(u'/')) {
        spelled += u'/'; // one trailing separator is ignored
    }
    return StorageIRI(std::move(spelled));
}
