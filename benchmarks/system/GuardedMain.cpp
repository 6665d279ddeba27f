#include "benchmarks/system/GuardedMain.h"

#include "benchmarks/system/StopSignal.h"

#include <CLI/Error.hpp>
#include <exception>
#include <iostream>

namespace storage::benchmark {

namespace {

constexpr int failed = 1;
constexpr int wronglyUsed = 2;
constexpr int interrupted = 130;

} // namespace

int runGuarded(const char* programName, const std::function<int()>& program) noexcept {
    try {
        return program();
    } catch (const CLI::ParseError& error) {
        std::cerr << programName << ": " << error.what() << " (try --help)\n";
        return wronglyUsed;
    } catch (const Interrupted&) {
        std::cerr << '\n' << programName << ": interrupted\n";
        return interrupted;
    } catch (const std::exception& error) {
        std::cerr << '\n' << programName << ": " << error.what() << '\n';
        return failed;
    }
}

} // namespace storage::benchmark
