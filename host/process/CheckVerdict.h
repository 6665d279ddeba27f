#pragma once

#include "host/process/CheckResult.h"

#include <string>

namespace storage::host {

/// What a check says of a rule. A value.
struct CheckVerdict {
    CheckResult result;
    std::string reason; ///< in one line; empty when the rule was kept
};

} // namespace storage::host
