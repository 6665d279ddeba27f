#include "tests/host/validate/faults/FaultCatalogue.h"

std::vector<Fault> allFaults() {
    std::vector<Fault> all;
    for (const auto& table : {
             faults::entryPoint(),
             faults::creatingAndRemoving(),
             faults::attributes(),
             faults::paths(),
             faults::times(),
             faults::writableFlag(),
             faults::openingStreams(),
             faults::readingAndWriting(),
             faults::listings(),
             faults::movingFiles(),
             faults::movingFolders(),
             faults::derivedOperations(),
             faults::threads(),
             faults::exhaustedMemory(),
             faults::process(),
             faults::defaultsAgainstModels(),
             faults::foreign(),
         }) {
        all.insert(all.end(), table.begin(), table.end());
    }
    return all;
}
