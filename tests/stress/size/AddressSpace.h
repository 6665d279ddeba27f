#pragma once

#include "tests/stress/size/Storage.h"

namespace storage::stress {

/// Writes files of 17 MiB until an address space of 1 GiB is exhausted. Each file requires a capacity of 32
/// MiB, because the capacity at least doubles. If files reserved more, fewer would fit than are required.
///
/// Owns the provider. Not thread-safe.
class AddressSpace {
public:
    /// @throws Violation
    void run();

private:
    /// @return the number of files that fit
    unsigned long fill();

    std::shared_ptr<IProvider> provider_ = newProvider();
};

} // namespace storage::stress
