#pragma once

#include "host/shell/Command.h"

#include <memory>
#include <span>
#include <string_view>

namespace storage::host {

/// One row of the table of commands.
struct CommandInfo {
    std::string_view name;
    std::string_view synopsis; ///< options and operands
    std::string_view summary;  ///< what it does, a sentence
    std::unique_ptr<Command> (*make)();
};

/// The command of this name in a table; null when there is none.
const CommandInfo* findCommand(std::span<const CommandInfo> commands, std::string_view name);

} // namespace storage::host
