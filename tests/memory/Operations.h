#pragma once

#include "tests/memory/Operation.h"

#include <vector>

namespace storage::tests {

// The tables of what is tried.

/// What a provider gives itself, where it succeeds.
std::vector<Operation> providerOperations();

/// The moves among it.
std::vector<Operation> moveOperations();

/// What a provider gives itself, where it refuses.
std::vector<Operation> refusedOperations();

/// What the host gives every provider, where it succeeds.
std::vector<Operation> hostOperations();

/// What the host gives every provider, where it refuses or does not offer it.
std::vector<Operation> refusedHostOperations();

std::vector<Operation> streamOperations();

std::vector<Operation> listingOperations();

} // namespace storage::tests
