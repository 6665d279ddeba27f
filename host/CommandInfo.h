#pragma once

#include "host/Command.h"

#include <memory>
#include <string_view>

namespace storage::host {

/// One row of the table of commands.
struct CommandInfo {
    std::string_view name;
    std::string_view synopsis; ///< options and operands
    std::string_view summary;  ///< what it does, a sentence
    std::unique_ptr<Command> (*make)();
};

} // namespace storage::host
