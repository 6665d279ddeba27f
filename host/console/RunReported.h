#pragma once

#include "host/console/Console.h"
#include "host/support/ExitStatus.h"

#include <functional>

namespace storage::host {

/// Runs a task of the program and reports the exception that ends it: the one place where an exception becomes a message
/// and an exit status.
/// @return the status of the task; Interrupted or Usage for the exceptions of these names, Failure for any other
/// @throws OutputError when nobody takes the output any more; main() reports it
ExitStatus runReported(Console& console, const std::function<ExitStatus()>& task);

} // namespace storage::host
