#pragma once

#include <functional>

namespace storage::core_operations {

/// A core operation, ready to be counted: the storage contains everything it requires. The functions own
/// their data. The storage outlives them.
struct Measurement {
    unsigned long operations;    ///< number of operations in `run`
    std::function<void()> run;   ///< the operations only; call it once
    std::function<void()> check; ///< throws unless `run` had the expected effect
};

} // namespace storage::core_operations
