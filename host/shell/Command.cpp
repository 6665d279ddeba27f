#include "host/shell/Command.h"

#include <algorithm>

namespace storage::host {

const CommandInfo* findCommand(std::span<const CommandInfo> commands, std::string_view name) {
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const CommandInfo& command) { return command.name == name; });
    return found == commands.end() ? nullptr : &*found;
}

} // namespace storage::host
