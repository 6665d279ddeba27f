#include "tests/linearizability/RoundRunner.h"

#include <gtest/gtest.h>

namespace storage::inmemoryprovider::tests {
namespace {

/// The short form; linearizability_stress runs any number of rounds. ARM64 gets fewer rounds because it is
/// emulated.
#if defined(QZSTORAGE_SANITIZED) || defined(__aarch64__)
constexpr std::size_t roundsPerMix = 500;
#else
constexpr std::size_t roundsPerMix = 2000;
#endif

class LinearizabilityTest : public testing::TestWithParam<RoundMix> {};

TEST_P(LinearizabilityTest, HoldsInEveryRound) {
    const Rounds rounds{.mix = GetParam(), .seed = 1, .first = 0, .count = roundsPerMix};
    const auto unexplained = firstUnexplained(rounds);
    EXPECT_FALSE(unexplained.has_value()) << shown(rounds, *unexplained);
}

INSTANTIATE_TEST_SUITE_P(EveryMix, LinearizabilityTest, testing::ValuesIn(allMixes),
                         [](const auto& mix) { return "mix" + std::to_string(static_cast<int>(mix.param)); });

} // namespace
} // namespace storage::inmemoryprovider::tests
