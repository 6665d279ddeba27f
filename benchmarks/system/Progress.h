#pragma once

#include <string>

namespace storage::benchmark {

/// Replaces the progress line on a terminal. Does nothing elsewhere.
void showProgress(const std::string& text);

} // namespace storage::benchmark
