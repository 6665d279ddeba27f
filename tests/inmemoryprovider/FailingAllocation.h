#pragma once

#include <cstddef>

namespace storage::inmemoryprovider {

/// While it lives, lets `allowed` more allocations of this thread succeed and the one after them fail, once.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t allowed) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether the failure has happened.
    bool happened() const noexcept;
};

} // namespace storage::inmemoryprovider
