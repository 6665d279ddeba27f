#include "host/commands/CommandFactories.h"

namespace storage::host {

namespace {

class ExitCommand final : public Command {
public:
    void declare(CommandSyntax&) override {}

    void run(Session& session, const Words&) override { session.end(); }
};

} // namespace

std::unique_ptr<Command> makeExitCommand() {
    return std::make_unique<ExitCommand>();
}

} // namespace storage::host
