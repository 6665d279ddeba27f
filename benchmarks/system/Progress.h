#pragma once

#include <string>

namespace storage::benchmark {

/// Shows what is being done, in place of what was shown before; nothing but on a terminal.
void showProgress(const std::string& text);

} // namespace storage::benchmark
