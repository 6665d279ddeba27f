#pragma once

#include <functional>

namespace storage::core_operations {

/// One core operation, ready to be counted: everything that it needs is in the storage. What the two functions hold
/// is their own; the storage outlives them.
struct Measurement {
    unsigned long operations;    ///< that `run` carries out
    std::function<void()> run;   ///< nothing but the operations; once only
    std::function<void()> check; ///< throws unless `run` did what it was to do
};

} // namespace storage::core_operations
