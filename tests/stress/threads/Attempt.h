#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "tests/stress/threads/Holdings.h"
#include "tests/stress/threads/Random.h"

namespace storage::stress {

/// One call of an operation with its arguments.
struct Attempt {
    const foundation::storage::provider::IProvider& provider;
    foundation::storage::provider::StorageIRI source;
    foundation::storage::provider::StorageIRI destination; ///< for operations with two locations
    foundation::storage::provider::ReplacementPolicy policy;
    Random& random;
    Holdings& holdings; ///< take ownership of opened streams and listings
};

} // namespace storage::stress
