#include "tests/memory/TreeSnapshot.h"

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "tests/memory/TreeShape.h"

#include "hostapi/storage/provider/Exception.h"

#include <boost/date_time/posix_time/posix_time_io.hpp>

#include <ostream>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

namespace storage::tests {

using foundation::storage::provider::Exception;
using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;

namespace {

using Kind = EntrySnapshot::Kind;

constexpr std::u16string_view root = u"/";

/// The unpaired surrogate by which temporary files are known.
constexpr char16_t markOfTemporaries = 0xD800;

bool stands(const IProvider& provider, const StorageIRI& iri, Kind kind) {
    return kind == Kind::Folder ? provider.doFolderExists(iri) : provider.doFileExists(iri);
}

/// The paths that an entry of `folder` with this name can have: one separator may stand between them or, but for the
/// root, two.
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
        return !stands(provider, locationOf(path), listed.getType());
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
    return {Kind::Folder, {}, {}, attributes.getLastModified(), attributes.isWritable(), {}};
}

EntrySnapshot fileAt(const IProvider& provider, const std::u16string& path) {
    const auto iri = locationOf(path);
    const auto attributes = provider.doGetFileAttributes(iri);
    const auto size = static_cast<long>(attributes.getSize());
    std::string bytes(attributes.getSize() + 1, '\0'); // one more than there should be
    const long count = provider.doOpenReadOnlyStream(iri)->read(bytes.data(), size + 1);
    EXPECT_EQ(count, size == 0 ? -1 : size) << testing::PrintToString(path);
    bytes.resize(attributes.getSize());
    return {Kind::File, {}, {}, attributes.getLastModified(), attributes.isWritable(), bytes};
}

/// Adds what `folder` holds, and tells the folders among it.
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
            auto& added = tree[path];
            added = kind == Kind::Folder ? folderAt(provider, path) : fileAt(provider, path);
            added.folder = folder;
            added.name = name;
            if (kind == Kind::Folder) {
                folders.push_back(path);
            }
        }
    }
    return folders;
}

bool differs(const EntrySnapshot& left, const EntrySnapshot& right, Times times) {
    EntrySnapshot compared = left;
    switch (times) {
    case Times::All:
        break;
    case Times::OfFiles:
        if (left.isFolder()) {
            compared.lastModified = right.lastModified;
        }
        break;
    case Times::Stamps:
        if ((left.lastModified == longAgo) == (right.lastModified == longAgo)) {
            compared.lastModified = right.lastModified;
        }
        break;
    case Times::None:
        compared.lastModified = right.lastModified;
        break;
    }
    return compared != right;
}

std::string shown(const TreeSnapshot& tree, const std::u16string& path) {
    const auto found = tree.find(path);
    if (found == tree.end()) {
        return "nothing";
    }
    const EntrySnapshot& entry = found->second;
    std::ostringstream text;
    text << (entry.writable ? "writable " : "read-only ") << (entry.isFolder() ? "folder" : "file") << " of "
         << entry.lastModified;
    if (!entry.isFolder()) {
        text << " with " << entry.bytes.size() << " bytes "
             << testing::PrintToString(entry.bytes.substr(0, 60));
    }
    return text.str();
}

} // namespace

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

TreeSnapshot withoutTemporaries(TreeSnapshot tree) {
    std::erase_if(tree, [](const auto& entry) {
        return entry.second.name.find(markOfTemporaries) != std::u16string::npos;
    });
    return tree;
}

StorageIRI locationOf(std::u16string_view path) {
    std::u16string spelled(path);
    if (path != root && path.ends_with(u'/')) {
        spelled += u'/'; // one at the end does not count
    }
    return StorageIRI(std::move(spelled));
}

std::u16string pathOf(const StorageIRI& iri) {
    return inmemoryprovider::InMemoryEntryPath(iri.getResolvedPath()).string();
}

bool isSameAt(const std::u16string& path, const TreeSnapshot& left, const TreeSnapshot& right, Times times) {
    const auto inLeft = left.find(path);
    const auto inRight = right.find(path);
    if (inLeft == left.end() || inRight == right.end()) {
        return inLeft == left.end() && inRight == right.end();
    }
    return !differs(inLeft->second, inRight->second, times);
}

testing::AssertionResult isSameTree(const TreeSnapshot& actual, const TreeSnapshot& expected, Times times) {
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    std::set<std::u16string> paths;
    for (const auto* tree : {&actual, &expected}) {
        for (const auto& [path, entry] : *tree) {
            paths.insert(path);
        }
    }
    std::ostringstream differences;
    for (const auto& path : paths) {
        if (!isSameAt(path, actual, expected, times)) {
            differences << "\n  " << testing::PrintToString(path) << " is " << shown(actual, path)
                        << " instead of " << shown(expected, path);
        }
    }
    if (differences.str().empty()) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "the trees differ:" << differences.str();
}

testing::AssertionResult hasNoStrayFolder(const IProvider& provider, const TreeSnapshot& tree,
                                          const TreeSnapshot& known) {
    for (const auto& [path, entry] : known) {
        const auto present = tree.find(path);
        if (!entry.isFolder() || (present != tree.end() && present->second.isFolder())) {
            continue;
        }
        try {
            provider.doListAll(locationOf(path));
            return testing::AssertionFailure() << "a stray folder at " << testing::PrintToString(path);
        } catch (const Exception&) { // there is none
        }
    }
    return testing::AssertionSuccess();
}

} // namespace storage::tests
