#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/threads/Holdings.h"
#include "tests/stress/threads/Random.h"

namespace storage::stress {

/// One call of an operation with its arguments.
struct Attempt {
    const provider::IProvider& provider;
    provider::StorageIRI source;
    provider::StorageIRI destination; ///< for operations with two locations
    provider::ReplacementPolicy policy;
    Random& random;
    Holdings& holdings; ///< take ownership of opened streams and listings
};

} // namespace storage::stress
