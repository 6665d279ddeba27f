#pragma once

#include "tests/memory/FailingAllocation.h"
#include "tests/memory/TreeSnapshot.h"

namespace storage::tests {

/// One tree in which an operation ran out of memory.
struct Failure {
    const TreeSnapshot& before;
    const TreeSnapshot& now;
    const TreeSnapshot& expected; ///< the tree when the operation succeeds
    FailingAllocation::Extent extent;
};

} // namespace storage::tests
