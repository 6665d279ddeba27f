#pragma once

#include <cstddef>

namespace storage::tests {

/// While it lives, lets `allowed` more allocations of this thread succeed and the one after them fail. Every form of
/// operator new counts; the forms that do not throw give a null pointer.
///
/// Only one at a time in a thread. Other threads never notice.
class FailingAllocation {
public:
    enum class Extent {
        Once,       ///< what comes after the failure succeeds again
        FromThenOn, ///< all that comes after it fails too
    };

    explicit FailingAllocation(std::size_t allowed, Extent extent = Extent::Once) noexcept;
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether an allocation has failed.
    bool happened() const noexcept;
};

} // namespace storage::tests
