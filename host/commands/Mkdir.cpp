#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"

namespace storage::host {

namespace {

class MkdirCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-p", parents_, "create missing parents; accept existing folders");
        syntax.operands(1, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) { make(session, path); });
        }
    }

private:
    void make(Session& session, const StoragePath& path) const {
        refuseFileAbove(session.provider(path), path);
        if (parents_) {
            session.provider(path).doCreateFolderRecursive(path.iri());
        } else {
            session.provider(path).doCreateFolder(path.iri());
        }
    }

    bool parents_ = false;
};

} // namespace

std::unique_ptr<Command> makeMkdirCommand() {
    return std::make_unique<MkdirCommand>();
}

} // namespace storage::host
