#include "host/validate/CheckRunner.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <cstdlib>
#include <iostream>

// Checks each broken provider against every rule and prints the rules that detect the fault. Fails if a fault
// is not detected.

namespace {

using namespace storage::host;
using Result = CheckOutcome::Result;

constexpr std::chrono::seconds limit(10);

/// Returns the numbers of the rules that the broken plug-in violates. The environment selects its fault.
std::string detectingRules() {
    const CheckRunner runner{TEST_BROKEN_PLUGIN, Profile::InMemoryProvider, 1, limit};
    std::string numbers;
    for (const CheckGroup& group : checkCatalogue()) {
        for (const Check& check : group.checks) {
            const Result result = runner.run(check).result;
            if (result != Result::Pass && result != Result::Skip) {
                numbers += (numbers.empty() ? "" : " ") + std::string(check.number);
            }
        }
    }
    return numbers;
}

} // namespace

int main() {
    std::size_t detected = 0;
    const std::vector<Fault> faults = allFaults();
    for (const Fault& fault : faults) {
        ::setenv("BROKEN_PLUGIN", fault.name, /*replace*/ 1);
        const std::string numbers = detectingRules();
        detected += numbers.empty() ? 0 : 1;
        std::cout << fault.name << ": " << (numbers.empty() ? "NOT DETECTED" : numbers) << '\n' << std::flush;
    }
    std::cout << "faults: " << detected << " of " << faults.size() << " broken providers detected\n";
    return detected == faults.size() ? EXIT_SUCCESS : EXIT_FAILURE;
}
