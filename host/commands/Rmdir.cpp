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
            session.attempt(word, [&](const StoragePath& path) {
                requireFolder(session.provider(path), path);
                refuseRemovingCurrentFolder(session, path);
                session.provider(path).doRemoveFolder(path.iri());
                session.kept(path).removed(path);
            });
        }
    }
};

} // namespace

std::unique_ptr<Command> makeRmdirCommand() {
    return std::make_unique<RmdirCommand>();
}

} // namespace storage::host
