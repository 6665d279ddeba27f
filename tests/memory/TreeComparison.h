#pragma once

#include "tests/support/TreeSnapshot.h"

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <gtest/gtest.h>

#include <string>

namespace storage::tests {

/// Which last-modified times a comparison looks at.
enum class Times {
    All,
    OfFiles,
    Stamps, ///< not the times themselves, only whether they are still those of an aged tree
    None,
};

/// The tree without the files by whose help others are copied.
TreeSnapshot withoutTemporaries(TreeSnapshot tree);

/// The folder of the entry at a path: one separator may stand between them or, but for the root, two.
std::u16string parentOf(const std::u16string& path);

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
