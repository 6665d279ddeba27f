#pragma once

namespace storage::host {

/// Output format of results.
enum class ReportFormat {
    Text, ///< for people
    Json, ///< for programs
};

} // namespace storage::host
