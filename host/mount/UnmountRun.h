#pragma once

#include "host/console/Console.h"
#include "host/support/ExitStatus.h"

#include <string>

namespace storage::host {

/// Ends a mount: sends the request to the program that serves it, shows the progress of the export, and waits
/// for the end. Reports failures to the console.
/// @return Failure if the storage stays mounted or not everything was exported
ExitStatus runUnmount(const std::string& mountPoint, Console& console);

} // namespace storage::host
