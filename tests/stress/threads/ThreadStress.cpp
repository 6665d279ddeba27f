#include "hostapi/storage/provider/ProviderOperations.h"
#include "tests/stress/Fault.h"
#include "tests/stress/threads/Operation.h"
#include "tests/stress/threads/StormThread.h"
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

using foundation::storage::provider::providerOperations;

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

void inspect(const StormThread::Shared& shared, Inspected& inspected) {
    for (const auto& world : shared.worlds.all()) {
        TreeInspection inspection(world->provider());
        inspection.run();
        ++inspected.trees;
        inspected.entries += inspection.entries();
        inspected.bytes += inspection.bytes();
        inspected.temporaryFiles += inspection.temporaryFiles();
    }
}

void runRound(StormThread::Shared& shared, std::vector<StormThread>& storm, std::size_t operations) {
    std::vector<std::function<void()>> tasks;
    for (auto& thread : storm) {
        tasks.emplace_back([&thread, operations] { thread.run(operations); });
    }
    tests::runTogether(tasks);
    requireThat(!shared.faults.hasFault(), shared.faults.text());
}

void print(const Options& options, const StormThread::Shared& shared, const std::vector<StormThread>& storm,
           const Inspected& inspected) {
    Tally tally;
    std::size_t fileUses = 0;
    std::size_t listingUses = 0;
    for (const auto& thread : storm) {
        tally += thread.tally();
        fileUses += thread.holdings().fileUses();
        listingUses += thread.holdings().listingUses();
    }
    std::cout << "calls of each operation (and how many of them succeeded):\n" << tally.text();
    tally.requireEveryOperation();
    std::cout << "beside them " << fileUses << " uses of streams, " << listingUses << " of listings\n"
              << "looked at " << inspected.trees << " trees with " << inspected.entries << " entries, "
              << inspected.bytes << " bytes, " << inspected.temporaryFiles
              << " temporary files whose folder was moved away or made read-only\n"
              << "thread stress: " << options.threads << " threads, " << tally.total() << " operations, "
              << providerOperations.size() << " kinds, " << shared.worlds.built() << " providers built, "
              << rounds << " invariant checks, no fault\n";
}

void runStress(const Options& options) {
    requireWholeTable();
    StormThread::Shared shared;
    std::vector<StormThread> storm;
    for (std::size_t thread = 0; thread < options.threads; ++thread) {
        storm.emplace_back(shared, options.seed * options.threads + thread);
    }
    const std::size_t shares = rounds * options.threads;
    Inspected inspected;
    for (std::size_t round = 0; round < rounds; ++round) {
        runRound(shared, storm, (options.operations + shares - 1) / shares);
        inspect(shared, inspected);
    }
    print(options, shared, storm, inspected);
}

} // namespace
} // namespace storage::stress

int main(int argc, char** argv) {
    storage::stress::Options options;
    CLI::App app(
        "Many threads call every operation of shared providers at once; every answer is checked, and the "
        "trees whenever it is quiet.");
    app.add_option("--operations", options.operations, "How many operations of providers to call at least")
        ->check(CLI::Range(std::size_t{20'000}, std::size_t{1'000'000'000}))
        ->capture_default_str();
    app.add_option("--threads", options.threads, "How many threads call them")
        ->check(CLI::Range(std::size_t{1}, std::size_t{256}))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "What the threads choose follows from it")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        storage::stress::runStress(options);
    } catch (const std::exception& fault) {
        std::cerr << "thread stress, seed " << options.seed << ": FAULT: " << fault.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
