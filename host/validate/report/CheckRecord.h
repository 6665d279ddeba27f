#pragma once

#include "host/process/CheckOutcome.h"
#include "host/validate/rules/Check.h"

#include <string>

namespace storage::host {

/// A check that was made. A value; it refers to the catalogue's check.
struct CheckRecord {
    const Check* check;
    CheckOutcome outcome;
    std::string replay; ///< a command line for a shell that makes this check alone, as it was made
};

} // namespace storage::host
