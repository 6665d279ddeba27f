#pragma once

#include <string>

namespace storage::benchmark {

/// What a store is in a comparison.
enum class StoreRole {
    Plugin, ///< what is measured
    Peer,   ///< what it is compared with
    Floor,  ///< the least that a tree of entries takes
    Limit,  ///< a bound that no file system can pass
};

/// Who takes part in a comparison. A value.
struct Contender {
    std::string id;    ///< as in options and results
    std::string title; ///< as in tables
    std::string version;
    StoreRole role;
};

} // namespace storage::benchmark
