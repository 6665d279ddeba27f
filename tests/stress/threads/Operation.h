#pragma once

#include "tests/stress/threads/AllowedFailure.h"
#include "tests/stress/threads/Attempt.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace storage::stress {

/// One operation of `IProvider`, as the storm calls it.
struct Operation {
    std::string_view name;
    std::size_t weight; ///< how often it is chosen, compared with others
    std::vector<AllowedFailure> mayFail;
    void (*call)(Attempt& attempt); ///< throws Fault when the answer is none that there may be

    /// One that is not offered fails always.
    bool isOffered() const;

    bool allows(const foundation::storage::provider::Exception& failure, const Attempt& attempt) const;
};

/// All that can be called while other threads call too: every operation but the shutting down.
const std::vector<Operation>& allOperations();

/// @throws Fault  unless the table has each of them once, under the name of the operation that it calls
void requireWholeTable();

/// One of them, by its index.
std::size_t anyOperation(Random& random);

} // namespace storage::stress
