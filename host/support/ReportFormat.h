#pragma once

namespace storage::host {

/// For whom the program's results are.
enum class ReportFormat {
    Text, ///< for people
    Json, ///< for programs
};

} // namespace storage::host
