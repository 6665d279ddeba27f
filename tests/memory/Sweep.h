#pragma once

#include "tests/memory/FailingAllocation.h"
#include "tests/memory/Operation.h"
#include "tests/memory/TreeShape.h"

namespace storage::tests {

/// Fails each allocation of the operation in turn, each time on a new tree. After each failure, checks the
/// operation's guarantee for the tree. Then finishes the operation, and checks that tree and result are the
/// same as without failures. If the operation did not require the failed allocation, both must be the same at
/// once. In large trees, a build with a sanitizer fails only every seventh allocation.
///
/// A violated expectation fails the running test.
void sweep(const TreeShape& shape, const Operation& operation, FailingAllocation::Extent extent);

/// The same for an operation that is refused. Its postcondition is that of a refusal with enough memory. The
/// operation runs in child processes, because a failed allocation of an internal exception's message
/// terminates the process. No other failure may terminate it.
void sweepRefused(const TreeShape& shape, const Operation& operation);

} // namespace storage::tests
