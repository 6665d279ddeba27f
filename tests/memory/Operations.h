#pragma once

#include "tests/memory/Operation.h"

#include <vector>

namespace storage::tests {

// The tables of tested operations.

/// Operations that the provider implements, in cases where it succeeds.
std::vector<Operation> providerOperations();

/// The moves among these.
std::vector<Operation> moveOperations();

/// Operations that the provider implements, in cases where it refuses.
std::vector<Operation> refusedOperations();

/// Default operations of the host, in cases where they succeed.
std::vector<Operation> hostOperations();

/// Default operations of the host, in cases where they refuse or are not offered.
std::vector<Operation> refusedHostOperations();

std::vector<Operation> streamOperations();

std::vector<Operation> listingOperations();

} // namespace storage::tests
