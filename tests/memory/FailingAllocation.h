#pragma once

#include <cstddef>

namespace storage::tests {

/// Injects an allocation failure: the next `allowed` allocations of this thread succeed, and the one after
/// them fails. Every form of operator new counts. Forms that do not throw return a null pointer.
///
/// At most one object per thread. Other threads are not affected.
class FailingAllocation {
public:
    enum class Extent {
        Once,       ///< later allocations succeed
        FromThenOn, ///< all later allocations fail too
    };

    explicit FailingAllocation(std::size_t allowed, Extent extent = Extent::Once) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether an allocation has failed.
    bool happened() const noexcept;
};

} // namespace storage::tests
