#pragma once

#include "tests/memory/FailingAllocation.h"
#include "tests/memory/TreeComparison.h"
#include "tests/memory/TreeShape.h"

#include <functional>

namespace storage::tests {

/// A tree in which an operation ran out of memory.
struct Failure {
    const TreeSnapshot& before;
    const TreeSnapshot& now;
    const TreeSnapshot& expected; ///< the tree after the operation has succeeded
    FailingAllocation::Extent extent;
};

/// Checks the postcondition of an operation that ran out of memory. Fails the running test if it does not
/// hold.
using Guarantee = std::function<void(const TreeShape&, const Failure&)>;

/// The tree is unchanged, including all times.
void unchanged(const TreeShape& shape, const Failure& failure);

/// The tree is unchanged. If only allocations for the exception of a refusal failed, the tree may also be as
/// after that refusal.
void unchangedOrRefused(const TreeShape& shape, const Failure& failure);

/// Like `unchanged`, except for the times of folders in which a temporary file was created and removed. The
/// temporary file remains if even its removal runs out of memory.
void unchangedButForATemporaryFile(const TreeShape& shape, const Failure& failure);

/// Each entry is in its old or its new state, except for the times of folders. No entry is missing that
/// exists both before and after the operation.
void partlyDone(const TreeShape& shape, const Failure& failure);

/// Unchanged, but the file at `role` begins with a part of its new bytes, followed by its old bytes.
Guarantee partlyWritten(TreeShape::Role TreeShape::*role);

/// Unchanged, but the file at `role` has been extended by a part of its new bytes and is stamped.
Guarantee partlyGrown(TreeShape::Role TreeShape::*role);

/// Moved entries are at the destination, the others at the source. Only folders that are being moved may be
/// at both. If nothing was moved, the tree is unchanged.
Guarantee partlyMoved(TreeShape::Role TreeShape::*source, TreeShape::Role TreeShape::*destination);

} // namespace storage::tests
