#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"
#include "benchmarks/stores/StoreRole.h"

#include <functional>
#include <memory>
#include <string>

namespace storage::benchmark {

/// A kind of store, and how to make one of it. A value.
struct StoreKind {
    std::string id;    ///< as in options and results
    std::string title; ///< as in tables
    std::string version;
    StoreRole role;
    Abilities abilities;
    std::function<std::unique_ptr<Store>()> build;

    bool can(Ability ability) const { return abilities.contains(ability); }
};

} // namespace storage::benchmark
