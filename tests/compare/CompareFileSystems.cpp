// Makes the same random system calls in two folders of different file systems, as two users, and compares
// every result.

#include "tests/compare/CallKind.h"
#include "tests/compare/Comparison.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <random>
#include <set>
#include <string>
#include <unistd.h>

namespace syscalls {
namespace {

struct Options {
    Lockstep::Roots roots;
    std::uint64_t calls = 1'000'000;
    std::uint64_t callsOfRound = 2000;
    std::uint64_t seed = std::random_device()();
    std::vector<std::string> without;
    std::string replayed;
    bool keepsGoing = false;
    bool listsKinds = false;
};

void printExclusions(const Options& options) {
    for (const auto& [name, reason] : standingExclusions()) {
        std::cout << "not compared: " << name << ": " << reason << '\n';
    }
    for (const std::string& name : options.without) {
        std::cout << "not compared: " << name << ": excluded on the command line\n";
    }
}

void print(const Difference& difference) {
    constexpr std::size_t most = 40;
    const std::size_t first = difference.calls.size() - std::min(most, difference.calls.size());
    for (std::size_t i = first; i < difference.calls.size(); ++i) {
        std::cout << "    " << toLine(difference.calls[i]) << '\n';
    }
    const auto& [reference, tested] = difference.answers;
    const auto printSide = [](std::string_view side, const Outcome& outcome, const Outcome& other) {
        for (const auto& field : outcome.fields) {
            if (std::ranges::find(other.fields, field) == other.fields.end()) {
                std::cout << "  " << side << ": " << field.name << " = " << field.value << '\n';
            }
        }
    };
    printSide("reference", reference, tested);
    printSide("tested   ", tested, reference);
}

void printTotals(const Totals& totals, const Options& options, std::size_t differences) {
    std::string onlyFailed;
    for (const auto& [kind, successes] : totals.successesOfKind) {
        onlyFailed += successes == 0 ? " " + kind : "";
    }
    if (!onlyFailed.empty()) {
        std::cout << "kinds that never succeeded:" << onlyFailed << '\n';
    }
    std::cout << fmt::format("compare: seed {}: {} calls of {} kinds, {} % successful, {} differences\n",
                             options.seed, totals.calls, totals.successesOfKind.size(),
                             totals.succeeded * 100 / std::max<std::uint64_t>(totals.calls, 1), differences);
}

/// Runs rounds of random calls, each starting in empty folders.
/// @return the signatures of the differences
std::set<std::string> tryRandomly(const Options& options, const Exclusions& exclusions) {
    std::set<std::string> signatures;
    Comparison comparison(options.roots, exclusions);
    std::cout << "seed " << options.seed << '\n' << std::flush;
    for (std::uint64_t round = 0; comparison.totals().calls < options.calls; ++round) {
        const std::uint64_t seed = options.seed + round;
        const auto difference = comparison.tryRandomly(seed, std::min(options.callsOfRound, options.calls));
        if (!difference || !signatures.insert(difference->signature()).second) {
            continue;
        }
        const Difference smallest = comparison.shrink(*difference);
        std::cout << fmt::format("WRONG: {} after {} calls of seed {}; shrunk to {} calls; the last ones:\n",
                                 difference->signature(), difference->calls.size(), seed,
                                 smallest.calls.size());
        print(smallest);
        std::cout << std::flush;
        if (!options.keepsGoing) {
            break;
        }
    }
    printTotals(comparison.totals(), options, signatures.size());
    return signatures;
}

bool replay(const Options& options, const Exclusions& exclusions) {
    std::ifstream file(options.replayed);
    Calls calls;
    for (std::string line; std::getline(file, line);) {
        calls.push_back(fromLine(line));
    }
    const auto difference = Comparison(options.roots, exclusions).replay(calls, 1);
    if (difference) {
        std::cout << "WRONG: " << difference->signature() << '\n';
        print(*difference);
    }
    std::cout << fmt::format("compare: {} calls of {}\n", calls.size(), options.replayed);
    return !difference;
}

bool run(const Options& options) {
    Exclusions exclusions;
    for (const std::string& name : options.without) {
        exclusions.add(name);
    }
    if (options.listsKinds) {
        for (const CallKind& kind : allKinds()) {
            std::cout << kind.name << '\n';
        }
        return true;
    }
    if (::geteuid() != 0) {
        throw std::runtime_error("two users make calls, so only root can run this");
    }
    printExclusions(options);
    return options.replayed.empty() ? tryRandomly(options, exclusions).empty() : replay(options, exclusions);
}

} // namespace
} // namespace syscalls

int main(int argc, char** argv) {
    using namespace syscalls;
    CLI::App app(
        "Empties two folders, makes the same random system calls in both, and compares the results.");
    Options options;
    app.add_option("REFERENCE", options.roots.reference, "Folder of the reference file system");
    app.add_option("TESTED", options.roots.tested, "Folder of the tested file system");
    app.add_option("--calls", options.calls, "Number of calls")->capture_default_str();
    app.add_option("--calls-per-round", options.callsOfRound, "Number of calls per round")
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Seed of the random calls");
    app.add_option("--without", options.without, "Kinds of calls, fields or features to exclude")
        ->delimiter(',');
    app.add_option("--replay", options.replayed, "File with the calls to make, one per line as printed");
    app.add_flag("--keep-going", options.keepsGoing, "Print each kind of difference once, and continue");
    app.add_flag("--list-kinds", options.listsKinds, "Print the kinds of calls");
    CLI11_PARSE(app, argc, argv);
    try {
        return run(options) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::cerr << "compare: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
