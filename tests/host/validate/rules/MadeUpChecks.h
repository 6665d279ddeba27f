#pragma once

#include "host/validate/rules/CheckGroup.h"

#include <span>

/// A catalogue of rules for tests of what is done with rules:
/// "1 Letters" with 1.1 letters.kept, 1.2 letters.broken and 1.3 letters.skipped, "2 Numbers" with 2.1 numbers.kept, of
/// the in-memory provider alone, and 2.2 numbers.crash.
std::span<const storage::host::CheckGroup> madeUpChecks();
