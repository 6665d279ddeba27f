#include "host/commands/CommandFactories.h"
#include "host/commands/CommandTable.h"
#include "host/support/UsageError.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

class HelpCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(0, 1, WordKind::Command); }

    void run(Session& session, const Words& operands) override {
        session.console().out() << (operands.empty() ? overview() : explain(operands.front()));
    }

private:
    static std::string overview() {
        std::string text;
        for (const CommandInfo& command : commandTable()) {
            text += fmt::format("{:<10}{}\n", command.name, command.summary);
        }
        return text +
               "\n'help COMMAND' explains the options of a command. Words are quoted as in a shell:\n"
               "'text', \"text\", \\c; unquoted * and ? match paths, of the storage or of the disk; # begins "
               "a\n"
               "comment. With several storages, NAME:/path is a path of the storage NAME. Pipes and "
               "redirections\n"
               "are outside of a line: qzstorage -c 'cat /f' | COMMAND\n";
    }

    static std::string explain(const std::string& name) {
        const CommandInfo* const info = findCommand(commandTable(), name);
        if (info == nullptr) {
            throw UsageError("there is no command '" + name + "'");
        }
        const auto command = info->make();
        CommandSyntax syntax(info->name, info->synopsis, info->summary);
        command->declare(syntax);
        return syntax.help();
    }
};

} // namespace

std::unique_ptr<Command> makeHelpCommand() {
    return std::make_unique<HelpCommand>();
}

} // namespace storage::host
