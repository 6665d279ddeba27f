#pragma once

#include <functional>

namespace storage::benchmark {

/// Runs a program's main function and returns its exit status. After an exception the status depends on its
/// kind.
int runGuarded(const char* programName, const std::function<int()>& program) noexcept;

} // namespace storage::benchmark
