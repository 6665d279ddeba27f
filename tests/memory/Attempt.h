#pragma once

#include "tests/memory/TreeSnapshot.h"

#include <functional>
#include <string>

namespace storage::tests {

/// One operation about to be called on one tree, with everything prepared that is not the operation itself.
struct Attempt {
    std::function<void()> run;           ///< the call, for which memory may run out
    std::function<std::string()> result; ///< tells, after a call that succeeded, what came of it; once only

    /// What a user does after a failure to have the whole operation done, with the tree before it; where there is
    /// none, the call is repeated.
    std::function<void(const TreeSnapshot&)> finish = {};
};

} // namespace storage::tests
