#pragma once

#include "host/console/Console.h"
#include "host/support/ExitStatus.h"

#include <functional>

namespace storage::host {

/// Runs a task of the program and reports an exception that it throws. Only main() also converts exceptions
/// to an exit status: OutputError, and a report that runs out of memory.
/// @return the status of the task; Interrupted or Usage for the exceptions of these names, Failure for any
///     other
/// @throws OutputError when the output cannot be written; main() reports it
ExitStatus runReported(Console& console, const std::function<ExitStatus()>& task);

} // namespace storage::host
