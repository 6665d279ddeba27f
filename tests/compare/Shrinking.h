#pragma once

#include "tests/compare/Call.h"

#include <functional>

namespace syscalls {

/// Removes calls from a sequence as long as it still fails, in at most `attempts` attempts.
/// @param stillFails  whether a sequence fails in the same way
Calls shrunk(Calls calls, const std::function<bool(const Calls&)>& stillFails, int attempts);

} // namespace syscalls
