#include "host/commands/CommandFactories.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/DiskPath.h"
#include "host/support/Interruption.h"

#include <filesystem>

namespace storage::host {

namespace {

class LlsCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(0, CommandSyntax::any, WordKind::Disk); }

    void run(Session& session, const Words& operands) override {
        const Words words = operands.empty() ? Words{"."} : operands;
        for (const std::string& word : words) {
            session.console().attempt(word, [&] {
                const std::string path = diskOperand(word);
                if (isFolder(path)) {
                    showFolder(session, path, words.size() > 1);
                } else {
                    (void)DiskEntry::at(path, DiskEntry::Links::Inspect); // throws if it does not exist
                    session.console().out() << session.console().shown(path) << '\n';
                }
            });
        }
    }

private:
    static bool isFolder(const std::string& path) {
        std::error_code error;
        return std::filesystem::is_directory(path, error);
    }

    static void showFolder(Session& session, const std::string& folder, bool hasHeading) {
        Console& console = session.console();
        const std::vector<std::string> names = listDiskFolder(folder, DiskEntry::Links::Follow);
        if (hasHeading) {
            console.out() << console.shown(folder) << ":\n";
        }
        for (const std::string& name : names) {
            Interruption::check();
            const std::string shown = console.shown(name);
            console.out() << (isFolder(diskChild(folder, name)) ? console.asFolder(shown) : shown) << '\n';
        }
    }
};

} // namespace

std::unique_ptr<Command> makeLlsCommand() {
    return std::make_unique<LlsCommand>();
}

} // namespace storage::host
