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
               "\n'help COMMAND' describes a command. Words are quoted as in a POSIX shell: 'text', "
               "\"text\", "
               "\\c.\n"
               "Unquoted * and ? match paths in the storage or on the disk. # begins a comment. With "
               "several\n"
               "storages, NAME:/path is a path in the storage NAME. For pipes and redirections use -c:\n"
               "qzstorage -c 'cat /f' | COMMAND\n";
    }

    static std::string explain(const std::string& name) {
        const CommandInfo* const info = findCommand(commandTable(), name);
        if (info == nullptr) {
            throw UsageError("unknown command '" + name + "'");
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
