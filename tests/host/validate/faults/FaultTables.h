#pragma once

#include "tests/host/validate/Fault.h"

#include <span>

// One table for each file of checks that has faults of its own.
namespace faults {

std::span<const Fault> creatingAndRemoving();

} // namespace faults
