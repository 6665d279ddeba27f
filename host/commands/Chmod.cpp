#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"
#include "host/support/UsageError.h"

namespace storage::host {

namespace {

class ChmodCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.operands(2, CommandSyntax::any);
        syntax.firstOperand(WordKind::Text);
    }

    /// "-w" is a mode, not an option.
    std::vector<Word> arrange(std::vector<Word> words) const override {
        if (!words.empty() && words.front().text == "-w") {
            words.insert(words.begin(), Word{"--"});
        }
        return words;
    }

    void run(Session& session, const Words& operands) override {
        const std::string& mode = operands.front();
        if (mode != "+w" && mode != "-w") {
            throw UsageError("'" + mode + "' is neither +w nor -w");
        }
        for (std::size_t i = 1; i < operands.size(); ++i) {
            session.attempt(operands[i], [&](const StoragePath& path) {
                requireEntry(session.provider(path), path);
                session.provider(path).doSetWritable(path.iri(), mode == "+w");
                session.kept(path).changed(path);
            });
        }
    }
};

} // namespace

std::unique_ptr<Command> makeChmodCommand() {
    return std::make_unique<ChmodCommand>();
}

} // namespace storage::host
