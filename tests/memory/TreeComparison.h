#pragma once

#include "tests/support/TreeSnapshot.h"

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <gtest/gtest.h>

#include <string>

namespace storage::tests {

/// The last-modified times that a comparison includes.
enum class Times {
    All,
    OfFiles,
    Stamps, ///< only whether a time is still `pastTime`
    None,
};

/// The tree without the temporary files of copies.
TreeSnapshot withoutTemporaries(TreeSnapshot tree);

/// The path of the parent folder. One or two separators may precede the name.
std::u16string parentOf(const std::u16string& path);

/// The path of the entry at `iri` in a snapshot.
std::u16string pathOf(const provider::StorageIRI& iri);

/// Whether the entries at `path` are equal or missing in both trees.
bool isSameAt(const std::u16string& path, const TreeSnapshot& left, const TreeSnapshot& right, Times times);

/// Reports the entries that differ.
testing::AssertionResult isSameTree(const TreeSnapshot& actual, const TreeSnapshot& expected, Times times);

/// Checks that the provider finds no folder of `known` that is missing from its `tree`.
testing::AssertionResult hasNoStrayFolder(const provider::IProvider& provider, const TreeSnapshot& tree,
                                          const TreeSnapshot& known);

} // namespace storage::tests
