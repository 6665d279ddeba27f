#include "host/commands/CommandFactories.h"
#include "host/commands/StorageDestination.h"
#include "host/disk/DiskFolder.h"
#include "host/support/CommandError.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"
#include "host/transfer/Importer.h"

namespace storage::host {

namespace {

class ImportCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-x", isOnSourceOnly_, "stay on the file system of each DISK-PATH");
        syntax.option("--one-file-system", "WHEN", when_,
                      "yes: as -x; no: import also what is on proc, sysfs and the like");
        syntax.operands(2, CommandSyntax::any, WordKind::Disk);
        syntax.lastOperand(WordKind::Storage);
    }

    void run(Session& session, const Words& operands) override {
        const Importer::FileSystems which = fileSystems();
        auto destination = StorageDestination::find(session, operands.back(), operands.size() - 1);
        if (!destination) {
            return;
        }
        TransferTotals totals;
        {
            Importer importer(session.provider(), session.console(), session.interruption(),
                              session.imports(), session.modes(), which);
            for (std::size_t i = 0; i + 1 < operands.size(); ++i) {
                session.console().attempt(operands[i],
                                          [&] { import(importer, diskOperand(operands[i]), *destination); });
            }
            totals = importer.totals();
        } // takes its progress off the terminal
        session.console().out() << "imported " << totals.summary() << '\n';
    }

private:
    Importer::FileSystems fileSystems() const {
        if (when_ && *when_ != "yes" && *when_ != "no") {
            throw UsageError("--one-file-system: '" + *when_ + "' is neither yes nor no");
        }
        if (isOnSourceOnly_ || when_ == "yes") {
            return Importer::FileSystems::OfSource;
        }
        return when_ ? Importer::FileSystems::All : Importer::FileSystems::WithFiles;
    }

    static void import(Importer& importer, const std::string& source, StorageDestination& destination) {
        const auto name = toUtf16(diskName(source));
        importer.run(source, destination.of(name), destination.attributesFor(name));
    }

    bool isOnSourceOnly_ = false;
    std::optional<std::string> when_;
};

} // namespace

std::unique_ptr<Command> makeImportCommand() {
    return std::make_unique<ImportCommand>();
}

} // namespace storage::host
