#pragma once

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/AllowedFailure.h"
#include "tests/stress/threads/Attempt.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace storage::stress {

/// One operation of `IProvider` as called by the test.
struct Operation {
    std::string_view name;
    std::size_t weight; ///< relative frequency
    std::vector<AllowedFailure> mayFail;
    void (*call)(Attempt& attempt); ///< throws Violation for an impossible result

    /// Whether the provider offers the operation. Otherwise it always fails.
    bool isOffered() const;

    bool allows(const provider::Exception& failure, const Attempt& attempt) const;
};

/// All operations that may run concurrently: every operation except the shutdown.
const std::vector<Operation>& allOperations();

/// @throws Violation unless the table contains each operation once, under the name of the operation that it
///         calls
void requireWholeTable();

/// The index of a random operation.
std::size_t anyOperation(Random& random);

} // namespace storage::stress
