#pragma once

#include "host/CommandInfo.h"

#include <span>
#include <string_view>

namespace storage::host {

/// All commands in the order in which the help shows them.
std::span<const CommandInfo> commandTable();

/// The command of this name; null when there is none.
const CommandInfo* findCommand(std::string_view name);

} // namespace storage::host
