#pragma once

#include "host/process/CheckVerdict.h"

#include <chrono>
#include <string>

namespace storage::host {

/// How a check's process went. A value.
struct CheckOutcome {
    CheckVerdict verdict;
    std::string output; ///< lines that the process printed, safe to show, shortened
    std::chrono::milliseconds duration;
};

} // namespace storage::host
