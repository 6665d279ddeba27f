#pragma once

#include "tests/memory/FailingAllocation.h"
#include "tests/memory/TreeComparison.h"
#include "tests/memory/TreeShape.h"

#include <functional>

namespace storage::tests {

/// One tree in which an operation ran out of memory.
struct Failure {
    const TreeSnapshot& before;
    const TreeSnapshot& now;
    const TreeSnapshot& expected; ///< the tree when the operation succeeds
    FailingAllocation::Extent extent;
};

/// Checks what an operation that ran out of memory must leave behind. Each of them fails the running test.
using Guarantee = std::function<void(const TreeShape&, const Failure&)>;

/// The tree is as it was, every time included.
void unchanged(const TreeShape& shape, const Failure& failure);

/// The tree is as it was, or, when memory ran out only for the report of a refusal, as the refusal leaves it.
void unchangedOrRefused(const TreeShape& shape, const Failure& failure);

/// As `unchanged` but for times of folders, in which a temporary file came and went. It stays when memory is not even
/// enough to remove it.
void unchangedButForATemporaryFile(const TreeShape& shape, const Failure& failure);

/// Each entry is as it was or as it is to be, times of folders aside, and what is the same before and after is there.
void partlyDone(const TreeShape& shape, const Failure& failure);

/// As it was, but the file at `role` holds a beginning of the bytes it is to hold, and its own bytes behind.
Guarantee partlyWritten(TreeShape::Role TreeShape::*role);

/// As it was, but the file at `role` has grown by some of the bytes it is to have more, and is stamped.
Guarantee partlyGrown(TreeShape::Role TreeShape::*role);

/// What has been moved is at the destination, the rest at the source, nothing at both but folders under way; and as
/// long as nothing has been moved, the tree is as it was.
Guarantee partlyMoved(TreeShape::Role TreeShape::*source, TreeShape::Role TreeShape::*destination);

} // namespace storage::tests
