#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <map>
#include <string>

namespace storage::core_operations {

/// A core operation, ready to be counted: the storage contains everything it requires. The functions own
/// their data. The storage outlives them.
struct Measurement {
    unsigned long operations;    ///< number of operations in `run`
    std::function<void()> run;   ///< the operations only; call it once
    std::function<void()> check; ///< throws unless `run` had the expected effect
};

/// Fills an empty storage and prepares the operation to be counted. The order of the entries is random and
/// the same in every run, so that no operation profits from cached neighbours.
using Preparation = Measurement(const provider::IProvider& storage);

/// All operations by their names.
extern const std::map<std::string, Preparation*> preparations;

} // namespace storage::core_operations
