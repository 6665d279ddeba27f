#include "host/commands/CommandFactories.h"
#include "host/commands/TransferSyntax.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/TargetClaim.h"
#include "host/storage/EntryRules.h"
#include "host/transfer/DiskDestination.h"
#include "host/transfer/DiskName.h"
#include "host/transfer/Exporter.h"
#include "host/transfer/SessionExportSource.h"

namespace storage::host {

namespace {

class ExportCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        transfer_.declare(syntax);
        syntax.operands(2, CommandSyntax::any);
        syntax.lastOperand(WordKind::Disk);
    }

    void run(Session& session, const Words& operands) override {
        const TransferOptions options = transfer_.options();
        TargetClaim::refuseClaimed(diskOperand(operands.back()));
        DiskDestination destination(operands.back(), operands.size() - 1);
        TransferTotals totals;
        {
            SessionExportSource stored(session.provider(), session.kept());
            Exporter exporter(stored, session.console(), session.interruption(), options);
            for (std::size_t i = 0; i + 1 < operands.size(); ++i) {
                session.console().attempt(operands[i], [&] {
                    const StoragePath source = session.resolve(operands[i]);
                    requireEntry(session.provider(), source);
                    const std::string name = source.isRoot() ? "" : toDiskName(source.name(), source);
                    exporter.run(source, destination.of(name), destination.attributesFor(name));
                });
            }
            totals = exporter.totals();
        } // takes its progress off the terminal
        if (!transfer_.isQuiet()) {
            session.console().out() << transfer_.summary("exported", "export", totals) << '\n';
        }
    }

private:
    TransferSyntax transfer_;
};

} // namespace

std::unique_ptr<Command> makeExportCommand() {
    return std::make_unique<ExportCommand>();
}

} // namespace storage::host
