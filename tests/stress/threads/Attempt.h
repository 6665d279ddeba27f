#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "tests/stress/threads/Holdings.h"
#include "tests/stress/threads/Random.h"

namespace storage::stress {

/// One call of one operation, and what it is called with.
struct Attempt {
    const foundation::storage::provider::IProvider& provider;
    foundation::storage::provider::StorageIRI source;
    foundation::storage::provider::StorageIRI destination; ///< of operations that have two locations
    foundation::storage::provider::ReplacementPolicy policy;
    Random& random;
    Holdings& holdings; ///< take over what is opened
};

} // namespace storage::stress
