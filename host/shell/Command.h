#pragma once

#include "host/session/Session.h"
#include "host/shell/CommandLineLexer.h"
#include "host/shell/CommandSyntax.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::host {

/// A command of the shell. An object runs one command line: first `declare`, then `run`. Not thread-safe.
class Command {
public:
    using Words = std::vector<std::string>;

    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    /// Declares the options and operands. Option values are stored in this object.
    virtual void declare(CommandSyntax& syntax) = 0;

    /// Rearranges the words of the line before parsing. For commands with operands that look like options.
    virtual std::vector<Word> arrange(std::vector<Word> words) const { return words; }

    /// Runs the command. Reports failures that do not end it to the session's console.
    /// @param operands  their number is in the declared range
    /// @throws UsageError, CommandError, Interrupted, OutputError, and exceptions of the provider
    virtual void run(Session& session, const Words& operands) = 0;
};

/// One row of the table of commands.
struct CommandInfo {
    std::string_view name;
    std::string_view synopsis; ///< options and operands
    std::string_view summary;  ///< one sentence
    std::unique_ptr<Command> (*make)();
};

/// Finds a command by name; null if there is none.
const CommandInfo* findCommand(std::span<const CommandInfo> commands, std::string_view name);

} // namespace storage::host
