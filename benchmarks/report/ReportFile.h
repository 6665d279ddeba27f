#pragma once

#include <string>

namespace storage::benchmark {

/// Writes a file of the report.
/// @throws std::runtime_error
void writeReportFile(const std::string& path, const std::string& text);

} // namespace storage::benchmark
