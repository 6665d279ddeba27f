#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"

namespace storage::host {

namespace {

class CdCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(0, 1); }

    void run(Session& session, const Words& operands) override {
        const std::string word = operands.empty() ? "/" : operands.front();
        session.attempt(word, [&](const StoragePath& folder) {
            requireFolder(session.provider(folder), folder);
            session.setCurrentFolder(folder);
        });
    }
};

} // namespace

std::unique_ptr<Command> makeCdCommand() {
    return std::make_unique<CdCommand>();
}

} // namespace storage::host
