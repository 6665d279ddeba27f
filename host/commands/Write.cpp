#include "host/commands/CommandFactories.h"
#include "host/commands/SessionInput.h"
#include "host/commands/TransferRules.h"
#include "host/disk/FileDescriptor.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TemporaryStorageFile.h"
#include "host/storage/UnfinishedFile.h"
#include "host/support/Interruption.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

namespace {

using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamOpenOptions;
using provider::EntryExistence;

/// Writes a line of text, or the standard input, to a file. Creates a missing file.
class TextCommand final : public Command {
public:
    explicit TextCommand(const ByteStreamOpenOptions& options) : options_(options) {}

    void declare(CommandSyntax& syntax) override {
        syntax.operands(1, CommandSyntax::any, WordKind::Text);
        syntax.firstOperand(WordKind::Storage);
    }

    /// The text may look like an option.
    std::vector<Word> arrange(std::vector<Word> words) const override {
        if (!words.empty() && !words.front().text.starts_with('-')) {
            words.insert(words.begin() + 1, Word{"--"});
        }
        return words;
    }

    void run(Session& session, const Words& operands) override {
        session.attempt(operands.front(), [&](const StoragePath& path) { put(session, path, operands); });
    }

private:
    void put(Session& session, const StoragePath& path, const Words& operands) const {
        refuseFolder(session.provider(path), path);
        if (operands.size() == 2 && operands[1] == "-") {
            putInput(session, path);
            return;
        }
        std::string text;
        for (std::size_t i = 1; i < operands.size(); ++i) {
            text += (i > 1 ? " " : "") + operands[i];
        }
        text += '\n';
        session.kept(path).changed(path);
        ByteStreamDevice(session.provider(path).doOpenStream(path.iri(), options_))
            .write(text.data(), static_cast<std::streamsize>(text.size()));
    }

    /// Copies the standard input to the file. A replaced file is kept until the end of the input.
    void putInput(Session& session, const StoragePath& path) const {
        const FileDescriptor input = openInput(session);
        const auto& provider = session.provider(path);
        const auto iri = path.iri();
        if (existence(provider, path) == EntryExistence::Missing) {
            UnfinishedFile file(provider, iri);
            copyInput(session, input, path);
            file.finish();
        } else if (options_.content == ByteStreamContent::Empty) {
            refuseReadOnlyFile(provider, path);
            TemporaryStorageFile replacement(provider, path);
            copyInput(session, input, replacement.path());
            replacement.moveIntoPlace();
            session.kept(path).changed(path);
        } else {
            session.kept(path).changed(path);
            copyInput(session, input, path);
        }
    }

    void copyInput(Session& session, const FileDescriptor& input, const StoragePath& path) const {
        ByteStreamDevice to(session.provider(path).doOpenStream(path.iri(), options_));
        std::vector<char> buffer(transferBufferSize);
        std::size_t count = 0;
        do {
            count = input.read(buffer);
            Interruption::check();
            to.write(buffer.data(), static_cast<std::streamsize>(count));
        } while (count == buffer.size()); // a short count is the end; a terminal reports the end only once
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
