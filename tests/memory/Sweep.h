#pragma once

#include "tests/memory/FailingAllocation.h"
#include "tests/memory/Operation.h"
#include "tests/memory/TreeShape.h"

namespace storage::tests {

/// Runs the operation on a new tree for each of its allocations, failing the first, then the second, and so
/// on, until none is left to fail. After each failure, checks the operation's guarantee for the tree. Then
/// finishes the operation and checks that tree and result are the same as without failures. If the operation
/// did not require the failed allocation, both must be the same at once.
///
/// A violated expectation fails the running test.
void sweep(const TreeShape& shape, const Operation& operation, FailingAllocation::Extent extent);

/// The same for an operation that is refused. Its postcondition is that of a refusal with enough memory. The
/// operation runs in child processes, because it may terminate the process: only where it allocates the
/// message of an internal exception.
void sweepRefused(const TreeShape& shape, const Operation& operation);

} // namespace storage::tests
