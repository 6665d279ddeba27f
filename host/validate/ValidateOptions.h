#pragma once

#include "host/support/ReportFormat.h"
#include "host/validate/rules/Profile.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storage::host {

/// The options of `validate`. A value.
struct ValidateOptions {
    enum class Task { Check, List };

    Task task = Task::Check;
    std::optional<std::string> plugin; ///< as the user named it; none for the one that comes with the program
    Profile profile = Profile::AnyProvider;
    std::vector<std::string> only; ///< patterns for numbers and names of rules; none for all
    ReportFormat format = ReportFormat::Text;
    std::optional<std::string> junitFile;
    std::uint64_t seed = 0;
    std::chrono::seconds timeLimit{60}; ///< for each check
};

} // namespace storage::host
