#pragma once

#include "benchmarks/results/Contender.h"
#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <functional>
#include <memory>

namespace storage::benchmark {

/// A kind of store with its factory. A value.
struct StoreKind : Contender {
    Abilities abilities;
    std::function<std::unique_ptr<Store>()> build;

    bool can(Ability ability) const { return abilities.contains(ability); }
};

} // namespace storage::benchmark
