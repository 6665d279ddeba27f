#include "tests/stress/unload/PluginRound.h"

#include "tests/stress/Violation.h"
#include "tests/support/LoadedPlugin.h"
#include "tests/support/ProcessMemory.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <optional>

namespace storage::stress {

namespace {

constexpr int threads = 4;
constexpr int roundsBetweenThreads = 4;
constexpr int roundsBeforeMeasure = 100;

void runOnThreads(const std::string& plugin) {
    std::array<std::future<void>, threads> runs;
    for (auto& run : runs) {
        run = std::async(std::launch::async, [&] { PluginRound(plugin).run(); });
    }
    for (auto& run : runs) {
        run.get();
    }
}

/// Does nothing under sanitizers, which delay the reuse of freed memory and have their own leak check.
void expectNoGrowth([[maybe_unused]] const ProcessMemory& memory) {
#ifndef QZSTORAGE_SANITIZED
    // Far above the allocator's fluctuations. A leak of about 1 KiB per round exceeds it in 1,000 rounds.
    constexpr std::int64_t growthAllowed = std::int64_t{1} << 20;
    const auto growth = memory.growth();
    std::printf("unload: the process grew by %ld KiB after the first %d rounds\n", growth / 1024,
                roundsBeforeMeasure);
    requireThat(growth < growthAllowed, "the process grew by ", growth, " bytes, more than ", growthAllowed);
#endif
}

void run(const std::string& plugin, int rounds) {
    int loadings = 0;
    std::optional<ProcessMemory> memory;
    for (int round = 1; round <= rounds; ++round) {
        if (round % roundsBetweenThreads == 0) {
            runOnThreads(plugin);
            loadings += threads;
        } else {
            PluginRound(plugin).run();
            ++loadings;
        }
        requireThat(!tests::pluginIsLoaded(plugin.c_str()), "the library is still mapped after round ",
                    round);
        if (round == roundsBeforeMeasure) {
            memory.emplace();
        }
    }
    std::printf(
        "unload: %d rounds, every fourth with %d threads at once; loaded, used and unloaded %d times\n",
        rounds, threads, loadings);
    if (memory) {
        expectNoGrowth(*memory);
    }
}

} // namespace

} // namespace storage::stress

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // line buffered, so that a crash loses no line
    CLI::App options("Repeatedly loads, uses and unloads a storage-provider plug-in.");
    int rounds = 1000;
    std::string plugin = QZSTORAGE_PLUGIN_PATH;
    options.add_option("--rounds", rounds, "Number of rounds")
        ->check(CLI::Range(1, 1'000'000))
        ->capture_default_str();
    options.add_option("PLUGIN", plugin, "The library's path")
        ->check(CLI::ExistingFile)
        ->capture_default_str();
    CLI11_PARSE(options, argc, argv);
    try {
        storage::stress::run(plugin, rounds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "unload_stress: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
