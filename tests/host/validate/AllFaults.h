#pragma once

#include "tests/host/validate/Fault.h"

#include <vector>

/// Every fault of every table.
std::vector<Fault> allFaults();
