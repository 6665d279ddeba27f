#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace storage::host {

using provider::EntryExistence;

namespace {

class TouchCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) { touch(session, path); });
        }
    }

private:
    static void touch(Session& session, const StoragePath& path) {
        if (existence(session.provider(path), path) == EntryExistence::Missing) {
            refuseFileAbove(session.provider(path), path);
            session.provider(path).doCreateFile(path.iri());
        } else {
            session.provider(path).doSetLastModified(path.iri(),
                                                     boost::posix_time::microsec_clock::universal_time());
        }
        session.kept(path).changed(path);
    }
};

} // namespace

std::unique_ptr<Command> makeTouchCommand() {
    return std::make_unique<TouchCommand>();
}

} // namespace storage::host
