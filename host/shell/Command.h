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

/// One command of the language, made for one command line: first `declare`, then `run`.
class Command {
public:
    using Words = std::vector<std::string>;

    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    /// Says which options and operands the command takes. Option values are stored in this object.
    virtual void declare(CommandSyntax& syntax) = 0;

    /// The words of the line as the syntax is to see them, for commands with words that only look like
    /// options.
    virtual std::vector<Word> arrange(std::vector<Word> words) const { return words; }

    /// Does the work. Failures that do not end the command are reported to the session's console.
    /// @param operands  as many as were declared
    /// @throws UsageError, CommandError, Interrupted, OutputError, and whatever the provider throws
    virtual void run(Session& session, const Words& operands) = 0;
};

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
