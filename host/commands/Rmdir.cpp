#include "host/commands/CommandFactories.h"
#include "host/commands/TransferRules.h"
#include "host/storage/EntryRules.h"

namespace storage::host {

namespace {

class RmdirCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.console().attempt(word, [&] {
                const StoragePath path = session.resolve(word);
                requireFolder(session.provider(), path);
                refuseRemovingCurrentFolder(session, path);
                session.provider().doRemoveFolder(path.iri());
                session.kept().removed(path);
            });
        }
    }
};

} // namespace

std::unique_ptr<Command> makeRmdirCommand() {
    return std::make_unique<RmdirCommand>();
}

} // namespace storage::host
