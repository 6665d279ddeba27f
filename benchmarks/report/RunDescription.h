#pragma once

#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// By which command, when and on which machine a run was made. A value.
struct RunDescription {
    std::string command;
    std::vector<std::pair<std::string, std::string>> machine; ///< names and values, the date first

    /// Of the run that has just ended here.
    static RunDescription now(std::string command);

    /// A paragraph for below a table.
    std::string text() const;
};

} // namespace storage::benchmark
