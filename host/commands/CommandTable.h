#pragma once

#include "host/shell/Command.h"

#include <span>

namespace storage::host {

/// All commands in the order in which the help shows them.
std::span<const CommandInfo> commandTable();

} // namespace storage::host
