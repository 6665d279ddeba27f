#pragma once

#include "tests/compare/Call.h"

#include <functional>

namespace syscalls {

/// Leaves out as many calls as it can such that what is left still fails, in at most so many attempts.
/// @param stillFails  whether a sequence fails in the same way
Calls shrunk(Calls calls, const std::function<bool(const Calls&)>& stillFails, int attempts);

} // namespace syscalls
