#include "host/commands/CommandFactories.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"

namespace storage::host {

namespace {

using foundation::storage::provider::ByteStreamAppend;
using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::ByteStreamOpenOptions;

/// Puts a line of text into a file, which is made when it is missing.
class TextCommand final : public Command {
public:
    explicit TextCommand(const ByteStreamOpenOptions& options) : options_(options) {}

    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    /// The text may begin with anything.
    Words arrange(Words words) const override {
        if (!words.empty() && !words.front().starts_with('-')) {
            words.insert(words.begin() + 1, "--");
        }
        return words;
    }

    void run(Session& session, const Words& operands) override {
        session.console().attempt(operands.front(), [&] { put(session, operands); });
    }

private:
    void put(Session& session, const Words& operands) const {
        std::string text;
        for (std::size_t i = 1; i < operands.size(); ++i) {
            text += (i > 1 ? " " : "") + operands[i];
        }
        text += '\n';
        const StoragePath path = session.resolve(operands.front());
        refuseFolder(session.provider(), path);
        ByteStreamDevice(session.provider().doOpenStream(path.iri(), options_))
            .write(text.data(), static_cast<std::streamsize>(text.size()));
    }

    const ByteStreamOpenOptions options_;
};

} // namespace

std::unique_ptr<Command> makeWriteCommand() {
    return std::make_unique<TextCommand>(ByteStreamOpenOptions{.content = ByteStreamContent::Empty});
}

std::unique_ptr<Command> makeAppendCommand() {
    return std::make_unique<TextCommand>(ByteStreamOpenOptions{.append = ByteStreamAppend::AppendAtEnd});
}

} // namespace storage::host
