#include "tests/linearizability/RoundRunner.h"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::tests {
namespace {

std::map<std::string, RoundMix> mixesByName() {
    std::map<std::string, RoundMix> mixes;
    for (const RoundMix mix : allMixes) {
        mixes.emplace(nameOf(mix), mix);
    }
    return mixes;
}

/// Whether every round is linearizable.
bool explains(const Rounds& rounds) {
    if (const auto unexplained = firstUnexplained(rounds)) {
        std::cerr << "linearizability: " << shown(rounds, *unexplained);
        return false;
    }
    std::cout << "linearizability: mix " << nameOf(rounds.mix) << ", seed " << rounds.seed << ": "
              << rounds.count * rounds.repetitions << " rounds, all linearizable\n";
    return true;
}

} // namespace
} // namespace storage::inmemoryprovider::tests

int main(int argc, char** argv) {
    using namespace storage::inmemoryprovider::tests;
    CLI::App app("Calls a provider from several threads, and searches for a linearization of each round.");
    Rounds rounds{.count = 50'000};
    std::vector<RoundMix> mixes(allMixes.begin(), allMixes.end());
    app.add_option("--mix", mixes, "Mix of operations; all mixes by default")
        ->transform(CLI::CheckedTransformer(mixesByName()));
    app.add_option("--seed", rounds.seed, "Seed of the random calls")->capture_default_str();
    app.add_option("--first", rounds.first, "Number of the first round")->capture_default_str();
    app.add_option("--rounds", rounds.count, "Number of rounds of each mix")->capture_default_str();
    app.add_option("--repetitions", rounds.repetitions, "Number of repetitions of each round")
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    bool explained = true;
    for (const RoundMix mix : mixes) {
        rounds.mix = mix;
        explained = explains(rounds) && explained;
    }
    return explained ? EXIT_SUCCESS : EXIT_FAILURE;
}
