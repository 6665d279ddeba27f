#pragma once

#include "tests/host/validate/faults/Fault.h"

#include <vector>

/// Every fault of every table.
std::vector<Fault> allFaults();
