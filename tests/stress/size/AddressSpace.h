#pragma once

#include "tests/stress/size/Storage.h"

namespace storage::stress {

/// Files of 17 MiB, written until an address space of 1 GiB is used up. Each of them needs a capacity of 32 MiB, because
/// capacity at least doubles. More than that would waste addresses.
///
/// Owns the provider. Thread safety: for one thread.
class AddressSpace {
public:
    /// @throws Fault
    void run();

private:
    /// @return how many there is room for
    unsigned long fill();

    std::shared_ptr<IProvider> provider_ = newProvider();
};

} // namespace storage::stress
