#pragma once

#include "tests/host/validate/faults/Fault.h"

#include <span>

// One table for each file of checks that has faults of its own.
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

} // namespace faults
