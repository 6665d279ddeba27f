#pragma once

namespace storage::benchmark {

/// What a store is in a comparison.
enum class StoreRole {
    Plugin, ///< what is measured
    Peer,   ///< what it is compared with
    Floor,  ///< the least that a tree of entries takes
    Limit,  ///< a bound that no file system can pass
};

} // namespace storage::benchmark
