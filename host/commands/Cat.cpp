#include "host/commands/CommandFactories.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"

#include <boost/iostreams/copy.hpp>

namespace storage::host {

namespace {

/// The end of a copy that the user can interrupt.
class ConsoleSink {
public:
    using char_type = char;
    using category = boost::iostreams::sink_tag;

    explicit ConsoleSink(Session& session) : session_(&session) {}

    std::streamsize write(const char* bytes, std::streamsize count) {
        session_->interruption().check();
        session_->console().out().write(bytes, count);
        return count;
    }

private:
    Session* session_;
};

class CatCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.console().attempt(word, [&] { print(session, session.resolve(word)); });
        }
    }

private:
    static void print(Session& session, const StoragePath& path) {
        requireFile(session.provider(), path);
        boost::iostreams::copy(ByteStreamDevice(session.provider().doOpenReadOnlyStream(path.iri())),
                               ConsoleSink(session), static_cast<std::streamsize>(transferBufferSize));
    }
};

} // namespace

std::unique_ptr<Command> makeCatCommand() {
    return std::make_unique<CatCommand>();
}

} // namespace storage::host
