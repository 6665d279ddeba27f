#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <span>
#include <vector>

/// A fault, injected into the in-memory provider.
struct Fault {
    const char* name;     ///< for example "CreatingTwice"; selects the fault of the broken plug-in
    const char* caughtBy; ///< number of the rule that it breaks
    std::shared_ptr<foundation::storage::provider::IProvider> (*build)();
};

/// Returns the faults of all tables.
std::vector<Fault> allFaults();

// One table for each group of checks.
namespace faults {

std::span<const Fault> entryPoint();
std::span<const Fault> creatingAndRemoving();
std::span<const Fault> attributes();
std::span<const Fault> paths();
std::span<const Fault> times();
std::span<const Fault> writableFlag();
std::span<const Fault> openingStreams();
std::span<const Fault> readingAndWriting();
std::span<const Fault> listings();
std::span<const Fault> movingFiles();
std::span<const Fault> movingFolders();
std::span<const Fault> derivedOperations();
std::span<const Fault> threads();
std::span<const Fault> exhaustedMemory();
std::span<const Fault> process();
std::span<const Fault> defaultsAgainstModels();

/// Defects of other providers, not derived from the rules.
std::span<const Fault> foreign();

} // namespace faults
