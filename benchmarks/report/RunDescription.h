#pragma once

#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// Command, date and machine of a run. A value.
struct RunDescription {
    std::string command;
    std::vector<std::pair<std::string, std::string>> machine; ///< names and values, beginning with the date

    /// Describes a run that has just ended on this machine.
    static RunDescription now(std::string command);

    /// The description as a paragraph to be placed below a table.
    std::string text() const;
};

} // namespace storage::benchmark
