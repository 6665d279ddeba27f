#pragma once

#include <chrono>
#include <string>

namespace storage::host {

/// How a check ended. A value.
struct CheckOutcome {
    enum class Result {
        Pass,  ///< the provider keeps the rule
        Fail,  ///< the provider breaks the rule
        Skip,  ///< the check does not apply to this provider or machine
        Crash, ///< the process exited or was killed before it announced a result
        Hang,  ///< the process was killed at the time limit
    };

    Result result;
    std::string reason;   ///< printable lines; empty for a pass
    std::string output{}; ///< output of the check's process: printable, shortened
    std::chrono::milliseconds duration{};
};

} // namespace storage::host
