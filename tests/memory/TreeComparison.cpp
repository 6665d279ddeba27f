#include "tests/memory/TreeComparison.h"

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "tests/memory/TreeShape.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <set>
#include <sstream>
#include <string_view>

namespace storage::tests {

using provider::Exception;
using provider::IProvider;
using provider::StorageIRI;

namespace {

/// Prefix of temporary files' names.
constexpr std::u16string_view beginningOfTemporaries = u"/.copy-";

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
        if ((left.lastModified == pastTime) == (right.lastModified == pastTime)) {
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
    return found == tree.end() ? "nothing" : testing::PrintToString(found->second);
}

} // namespace

TreeSnapshot withoutTemporaries(TreeSnapshot tree) {
    std::erase_if(tree, [](const auto& entry) {
        return entry.first.find(beginningOfTemporaries) != std::u16string::npos;
    });
    return tree;
}

std::u16string parentOf(const std::u16string& path) {
    std::size_t end = path.rfind(u'/');
    if (end > 1 && path[end - 1] == u'/') {
        --end;
    }
    return end == 0 ? u"/" : path.substr(0, end);
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
        } catch (const Exception&) { // the folder does not exist
        }
    }
    return testing::AssertionSuccess();
}

} // namespace storage::tests
