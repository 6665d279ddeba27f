#pragma once

#include <string>

namespace storage::benchmark {

/// The role of a store in a comparison.
enum class StoreRole {
    Plugin, ///< the store under test
    Peer,   ///< a file system to compare it with
    Floor,  ///< the minimum cost of a tree of entries
    Limit,  ///< a bound that no file system can exceed
};

/// A participant of a comparison. A value.
struct Contender {
    std::string id;    ///< in options and results
    std::string title; ///< in tables
    std::string version;
    StoreRole role;
};

} // namespace storage::benchmark
