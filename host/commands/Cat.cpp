#include "host/commands/CommandFactories.h"
#include "host/commands/PrintBytes.h"
#include "host/storage/EntryRules.h"

namespace storage::host {

namespace {

class CatCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) { print(session, path); });
        }
    }

private:
    static void print(Session& session, const StoragePath& path) {
        requireFile(session.provider(path), path);
        printBytes(session, ByteStreamDevice(session.provider(path).doOpenReadOnlyStream(path.iri())));
    }
};

} // namespace

std::unique_ptr<Command> makeCatCommand() {
    return std::make_unique<CatCommand>();
}

} // namespace storage::host
