#pragma once

#include "tests/linearizability/History.h"
#include "tests/linearizability/RoundPlan.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace storage::inmemoryprovider::tests {

/// The rounds to run. The plan of a round is determined by the mix, the seed and the number of the round.
struct Rounds {
    RoundMix mix = RoundMix::Random;
    std::uint64_t seed = 1;
    std::size_t first = 0;
    std::size_t count = 0;
    std::size_t repetitions = 1; ///< of each round
};

/// A round without a linearization.
struct UnexplainedRound {
    std::size_t number = 0;
    History history;
};

/// Runs rounds on new providers, with all threads at once, and searches for a linearization of each.
/// @return the first round without one
std::optional<UnexplainedRound> firstUnexplained(const Rounds& rounds);

/// The round, how to repeat it, and its history, as text.
std::string shown(const Rounds& rounds, const UnexplainedRound& unexplained);

} // namespace storage::inmemoryprovider::tests
