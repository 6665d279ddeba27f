#pragma once

#include <cstddef>

namespace storage::core_operations {

/// What was allocated.
struct Allocations {
    unsigned long count = 0;
    std::size_t bytes = 0; ///< as they were asked for
};

/// Counts all calls of operator new in the process, those of loaded libraries included, as long as it lives. Only one at a
/// time.
///
/// Linking this replaces operator new and delete in the whole program. For one thread.
class AllocationCounter {
public:
    AllocationCounter() noexcept;
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;
    ~AllocationCounter();

    static Allocations counted() noexcept;
};

} // namespace storage::core_operations
