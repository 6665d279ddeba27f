#pragma once

#include "host/validate/rules/Check.h"

#include <span>

namespace storage::host {

/// All groups, in the order of their numbers. docs/contract.md is generated from them.
std::span<const CheckGroup> checkCatalogue();

// The checks of each group.
namespace checks {

std::span<const Check> entryPoint();
std::span<const Check> creatingAndRemoving();
std::span<const Check> attributes();
std::span<const Check> paths();
std::span<const Check> times();
std::span<const Check> writableFlag();
std::span<const Check> openingStreams();
std::span<const Check> readingAndWriting();
std::span<const Check> listings();
std::span<const Check> movingFiles();
std::span<const Check> movingFolders();
std::span<const Check> derivedOperations();
std::span<const Check> threads();
std::span<const Check> exhaustedMemory();
std::span<const Check> process();
std::span<const Check> defaultsAgainstModels();

} // namespace checks

} // namespace storage::host
