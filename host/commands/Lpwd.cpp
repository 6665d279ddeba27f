#include "host/commands/CommandFactories.h"
#include "host/support/CommandError.h"

#include <filesystem>
#include <system_error>

namespace storage::host {

namespace {

class LpwdCommand final : public Command {
public:
    void declare(CommandSyntax&) override {}

    void run(Session& session, const Words&) override {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::current_path(error);
        if (error) {
            throw diskError("current folder", error.value());
        }
        session.console().out() << session.console().shown(folder.native()) << '\n';
    }
};

} // namespace

std::unique_ptr<Command> makeLpwdCommand() {
    return std::make_unique<LpwdCommand>();
}

} // namespace storage::host
