#pragma once

#include "host/console/Console.h"
#include "host/support/ExitStatus.h"

#include <string>

namespace storage::host {

/// Ends a mount: asks the program that serves it, shows how far the export is, and waits for its end. Failures are reported
/// to the console.
/// @return Failure if the storage stays mounted, or not everything was exported
ExitStatus runUnmount(const std::string& mountPoint, Console& console);

} // namespace storage::host
