#pragma once

#include "tests/memory/FailingAllocation.h"
#include "tests/memory/Operation.h"
#include "tests/memory/TreeShape.h"

namespace storage::tests {

/// Lets the first allocation of the operation fail, on a tree of its own, then the second, and so on until it succeeds.
/// After each failure the tree is what the operation guarantees, and the provider goes on working: finishing the
/// operation gives the same tree and the same answer as on an untouched tree. Where the operation did without what the
/// allocation was for, it gives them at once.
///
/// All expectations fail the running test.
void sweep(const TreeShape& shape, const Operation& operation, FailingAllocation::Extent extent);

/// The same for an operation that is refused in the end, which then leaves the tree as it does with memory enough. It is
/// called in child processes, for it may end the process: where the message of an internal exception is made, and
/// nowhere else.
void sweepRefused(const TreeShape& shape, const Operation& operation);

} // namespace storage::tests
