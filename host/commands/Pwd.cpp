#include "host/commands/CommandFactories.h"

namespace storage::host {

namespace {

class PwdCommand final : public Command {
public:
    void declare(CommandSyntax&) override {}

    void run(Session& session, const Words&) override {
        session.console().out() << session.console().shown(session.currentFolder().displayed()) << '\n';
    }
};

} // namespace

std::unique_ptr<Command> makePwdCommand() {
    return std::make_unique<PwdCommand>();
}

} // namespace storage::host
