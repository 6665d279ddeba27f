#pragma once

#include "host/inspect/PluginDescription.h"

#include <ostream>

namespace storage::host {

/// Prints a description as one JSON object.
void printJson(std::ostream& out, const PluginDescription& plugin);

} // namespace storage::host
