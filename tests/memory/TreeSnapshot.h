#pragma once

#include "tests/memory/EntrySnapshot.h"

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>

namespace storage::tests {

/// Every entry of a tree by its path, the root included.
using TreeSnapshot = std::map<std::u16string, EntrySnapshot>;

/// Which last-modified times a comparison looks at.
enum class Times {
    All,
    OfFiles,
    Stamps, ///< not the times themselves, only whether they are still those of an aged tree
    None,
};

/// Looks at everything there is. Along the way it is checked that the tree is sound: what a folder lists is found by
/// its path, and what is found can be listed, measured and read.
TreeSnapshot takeSnapshot(const foundation::storage::provider::IProvider& provider);

/// The tree without the files by whose help others are copied.
TreeSnapshot withoutTemporaries(TreeSnapshot tree);

/// The location of the entry at `path`, a path out of a snapshot.
foundation::storage::provider::StorageIRI locationOf(std::u16string_view path);

/// The path that an entry at `iri` has in a snapshot.
std::u16string pathOf(const foundation::storage::provider::StorageIRI& iri);

/// Whether both trees have the same entry at `path`, or both have none.
bool isSameAt(const std::u16string& path, const TreeSnapshot& left, const TreeSnapshot& right, Times times);

/// Tells the entries in which the trees differ.
testing::AssertionResult isSameTree(const TreeSnapshot& actual, const TreeSnapshot& expected, Times times);

/// Whether no folder of `known` is found by its path although it is not in `tree`, that of the provider.
testing::AssertionResult hasNoStrayFolder(const foundation::storage::provider::IProvider& provider,
                                          const TreeSnapshot& tree, const TreeSnapshot& known);

} // namespace storage::tests
