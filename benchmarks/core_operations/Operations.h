#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <map>
#include <string>

namespace storage::core_operations {

/// Counts the cost of run(), which performs this number of operations.
using Count = void(unsigned long operations, const std::function<void()>& run);

/// Fills an empty storage, passes an operation to `count`, and throws unless it had the expected effect. The
/// order of the entries is random and the same in every run, so that no operation profits from cached
/// neighbors.
using Operation = void(const provider::IProvider& storage, Count& count);

/// All operations by their names.
extern const std::map<std::string, Operation*> operations;

} // namespace storage::core_operations
