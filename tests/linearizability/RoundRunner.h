#pragma once

#include "tests/linearizability/History.h"
#include "tests/linearizability/RoundPlan.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace storage::inmemoryprovider::tests {

/// Which rounds to run. A round's plan follows from the mix, the seed and its number.
struct Rounds {
    RoundMix mix = RoundMix::Random;
    std::uint64_t seed = 1;
    std::size_t first = 0;
    std::size_t count = 0;
    std::size_t repetitions = 1; ///< of each round
};

/// A round that no order of its calls explains.
struct UnexplainedRound {
    std::size_t number = 0;
    History history;
};

/// Runs rounds on new providers, each with all its threads at once, and looks for the order that explains each.
/// @return the first one that has none
std::optional<UnexplainedRound> firstUnexplained(const Rounds& rounds);

/// As text: the round, how to repeat it, and its history.
std::string shown(const Rounds& rounds, const UnexplainedRound& unexplained);

} // namespace storage::inmemoryprovider::tests
