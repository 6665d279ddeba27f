#include "hostapi/storage/provider/ProviderOperations.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/stress/threads/Operation.h"
#include "tests/stress/threads/StressThread.h"
#include "tests/stress/threads/TreeInspection.h"
#include "tests/support/RunTogether.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <vector>

namespace storage::stress {

using provider::providerOperations;

namespace {

struct Options {
    std::size_t operations = 200'000;
    std::size_t threads = 8;
    std::size_t seed = 1;
};

/// Between two rounds no thread runs, and every tree is checked.
constexpr std::size_t rounds = 16;

struct Inspected {
    std::size_t trees = 0;
    std::size_t entries = 0;
    std::uint64_t bytes = 0;
    std::size_t temporaryFiles = 0;
};

void inspect(const StressThread::Shared& shared, Inspected& inspected) {
    for (const auto& world : shared.worlds.all()) {
        TreeInspection inspection(world->provider());
        inspection.run();
        ++inspected.trees;
        inspected.entries += inspection.entries();
        inspected.bytes += inspection.bytes();
        inspected.temporaryFiles += inspection.temporaryFiles();
    }
}

void runRound(StressThread::Shared& shared, std::vector<StressThread>& threads, std::size_t operations) {
    std::vector<std::function<void()>> tasks;
    for (auto& thread : threads) {
        tasks.emplace_back([&thread, operations] { thread.run(operations); });
    }
    tests::runTogether(tasks);
    requireThat(!shared.violation.isSet(), shared.violation.text());
}

void print(const Options& options, const StressThread::Shared& shared,
           const std::vector<StressThread>& threads, const Inspected& inspected) {
    Tally tally;
    std::size_t fileUses = 0;
    std::size_t listingUses = 0;
    for (const auto& thread : threads) {
        tally += thread.tally();
        fileUses += thread.holdings().fileUses();
        listingUses += thread.holdings().listingUses();
    }
    std::cout << "calls of each operation (and how many of them succeeded):\n" << tally.text();
    tally.requireEveryOperation();
    std::cout << "in addition " << fileUses << " uses of streams, " << listingUses << " of listings\n"
              << "inspected " << inspected.trees << " trees with " << inspected.entries << " entries, "
              << inspected.bytes << " bytes, " << inspected.temporaryFiles
              << " temporary files left in folders that were moved or made read-only\n"
              << "thread stress: " << options.threads << " threads, " << tally.total() << " operations, "
              << providerOperations.size() << " kinds, " << shared.worlds.built() << " providers built, "
              << rounds << " invariant checks, no violation\n";
}

void runStress(const Options& options) {
    requireWholeTable();
    StressThread::Shared shared;
    std::vector<StressThread> threads;
    for (std::size_t thread = 0; thread < options.threads; ++thread) {
        threads.emplace_back(shared, options.seed * options.threads + thread);
    }
    const std::size_t shares = rounds * options.threads;
    Inspected inspected;
    for (std::size_t round = 0; round < rounds; ++round) {
        runRound(shared, threads, (options.operations + shares - 1) / shares);
        inspect(shared, inspected);
    }
    print(options, shared, threads, inspected);
}

} // namespace
} // namespace storage::stress

int main(int argc, char** argv) {
    storage::stress::Options options;
    CLI::App app("Calls every operation of shared providers from many threads at once and checks every "
                 "result. Checks the trees between rounds.");
    app.add_option("--operations", options.operations, "Minimum number of provider operations")
        ->check(CLI::Range(std::size_t{20'000}, std::size_t{1'000'000'000}))
        ->capture_default_str();
    app.add_option("--threads", options.threads, "Number of threads")
        ->check(CLI::Range(std::size_t{1}, std::size_t{256}))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Seed of the random choices")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        storage::stress::runStress(options);
    } catch (const std::exception& failure) {
        std::cerr << "thread stress, seed " << options.seed << ": error: " << failure.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
