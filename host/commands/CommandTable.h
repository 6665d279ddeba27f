#pragma once

#include "host/shell/Command.h"

#include <span>

namespace storage::host {

/// Returns all commands, in the order of the help.
std::span<const CommandInfo> commandTable();

} // namespace storage::host
