#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"

namespace storage::host {

namespace {

class MkdirCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-p", parents_, "make missing folders above, too; one that is there is no failure");
        syntax.operands(1, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.console().attempt(word, [&] { make(session, session.resolve(word)); });
        }
    }

private:
    void make(Session& session, const StoragePath& path) const {
        refuseFileAbove(session.provider(), path);
        if (parents_) {
            session.provider().doCreateFolderRecursive(path.iri());
        } else {
            session.provider().doCreateFolder(path.iri());
        }
    }

    bool parents_ = false;
};

} // namespace

std::unique_ptr<Command> makeMkdirCommand() {
    return std::make_unique<MkdirCommand>();
}

} // namespace storage::host
