#pragma once

#include <functional>

namespace storage::benchmark {

/// Runs what a program consists of and returns its exit status, which after an exception is one that tells its kind.
int runGuarded(const char* programName, const std::function<int()>& program) noexcept;

} // namespace storage::benchmark
