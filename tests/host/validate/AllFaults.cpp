#include "tests/host/validate/AllFaults.h"

#include "tests/host/validate/faults/FaultTables.h"

std::vector<Fault> allFaults() {
    std::vector<Fault> all;
    for (const auto& table : {
             faults::creatingAndRemoving(),
         }) {
        all.insert(all.end(), table.begin(), table.end());
    }
    return all;
}
