#pragma once

#include "host/validate/rules/Check.h"

#include <span>

/// A small catalogue for tests that select, run or report checks: "1 Letters" with 1.1 letters.kept, 1.2
/// letters.broken and 1.3 letters.skipped, "2 Numbers" with 2.1 numbers.kept, which only applies to the
/// in-memory provider, and 2.2 numbers.crash.
std::span<const storage::host::CheckGroup> madeUpChecks();
