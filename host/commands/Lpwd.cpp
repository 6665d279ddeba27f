#include "host/commands/CommandFactories.h"

#include <filesystem>

namespace storage::host {

namespace {

class LpwdCommand final : public Command {
public:
    void declare(CommandSyntax&) override {}

    void run(Session& session, const Words&) override {
        session.console().out() << session.console().shown(std::filesystem::current_path().native()) << '\n';
    }
};

} // namespace

std::unique_ptr<Command> makeLpwdCommand() {
    return std::make_unique<LpwdCommand>();
}

} // namespace storage::host
