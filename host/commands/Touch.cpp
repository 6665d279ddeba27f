#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace storage::host {

using foundation::storage::provider::EntryExistence;

namespace {

class TouchCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.console().attempt(word, [&] { touch(session, session.resolve(word)); });
        }
    }

private:
    static void touch(Session& session, const StoragePath& path) {
        if (existence(session.provider(), path) == EntryExistence::Missing) {
            refuseFileAbove(session.provider(), path);
            session.provider().doCreateFile(path.iri());
        } else {
            session.provider().doSetLastModified(path.iri(),
                                                 boost::posix_time::microsec_clock::universal_time());
        }
        session.kept().changed(path);
    }
};

} // namespace

std::unique_ptr<Command> makeTouchCommand() {
    return std::make_unique<TouchCommand>();
}

} // namespace storage::host
