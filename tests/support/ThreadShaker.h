#pragma once

#include "tests/support/UnlockHook.h"

namespace storage::tests {

/// Makes its thread often yield just after it unlocks a mutex, also between the steps of an operation.
/// Without it, threads rarely interleave at these points, in particular on a busy machine.
///
/// Each thread uses its own object.
class ThreadShaker {
public:
    ThreadShaker();

private:
    UnlockHook hook_;
};

} // namespace storage::tests
