#pragma once

#include "host/inspect/PluginDescription.h"

#include <ostream>

namespace storage::host {

/// Prints a description as text.
void printText(std::ostream& out, const PluginDescription& plugin);

} // namespace storage::host
