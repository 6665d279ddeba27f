#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"
#include "host/support/FileTime.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

using provider::FolderEntry;

class StatCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) { show(session, path); });
        }
    }

private:
    static void show(Session& session, const StoragePath& path) {
        requireEntry(session.provider(path), path);
        const auto attributes = session.provider(path).doGetExtendedAttributes(path.iri());
        session.console().out() << fmt::format(
            "    path: {}\n    type: {}\n    size: {}\nmodified: {}\nwritable: {}\n",
            session.console().shown(path.displayed()),
            attributes.type == FolderEntry::EntryType::Folder ? "folder" : "file", attributes.size,
            formatMicroseconds(attributes.lastModified), attributes.writable ? "yes" : "no");
    }
};

} // namespace

std::unique_ptr<Command> makeStatCommand() {
    return std::make_unique<StatCommand>();
}

} // namespace storage::host
