#include "host/commands/CommandFactories.h"
#include "host/console/DiagnosisScope.h"
#include "host/disk/DiskFolder.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/DefaultMode.h"
#include "host/support/Umask.h"
#include "host/support/UsageError.h"
#include "host/transfer/Checker.h"
#include "host/transfer/SessionExportSource.h"

#include <unistd.h>

namespace storage::host {

namespace {

class CheckCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-t", times_, "also compare times");
        syntax.operands(0, 2);
        syntax.firstOperand(WordKind::Storage);
        syntax.lastOperand(WordKind::Disk);
    }

    void run(Session& session, const Words& operands) override {
        if (operands.size() == 1) {
            throw UsageError("missing DISK-PATH to compare PATH with");
        }
        const TransferTotals totals =
            operands.empty() ? compareImports(session)
                             : compare(session, asImported(session, operands), Checker::Against::Export);
        const std::size_t differences = session.console().failuresOfCommand();
        session.console().out() << "check: " << totals.summary() << ": "
                                << (differences == 0 ? "equal" : counted(differences, "difference")) << '\n';
    }

private:
    TransferTotals compareImports(Session& session) const {
        TransferTotals totals;
        bool hasImports = false;
        for (const auto& storage : session.storages()) {
            if (!storage->imports().empty()) {
                hasImports = true;
                totals += compare(session, storage->imports(), Checker::Against::Sources);
            }
        }
        if (!hasImports) {
            throw CommandError("", "nothing to compare: the session has imported nothing, "
                                   "or only archives, which cannot be compared");
        }
        return totals;
    }

    /// An export of the root folder does not change the attributes of an existing destination, so these are
    /// not compared.
    static ImportLog asImported(const Session& session, const Words& operands) {
        const StoragePath path = session.resolve(operands[0]);
        ImportLog log(path.root());
        log.add(diskOperand(operands[1]), path,
                path.isRoot() ? ImportSource::Scope::ContentOnly : ImportSource::Scope::Whole);
        return log;
    }

    TransferTotals compare(Session& session, const ImportLog& expected, Checker::Against against) const {
        const mode_t mask = currentUmask();
        const DiskOwner self{::geteuid(), ::getegid()};
        // An imported entry without a record has default attributes. Those of any other entry are unknown.
        const auto complete = [&](const StoragePath& path, DiskAttributes& known) {
            if (!session.imports(path).covers(path)) {
                return;
            }
            known.mode = known.mode.value_or(defaultMode(known.kind, mask));
            if (self.user == 0 &&
                against == Checker::Against::Sources) { // an export lets the disk choose the group
                known.owner = known.owner.value_or(self);
            }
        };
        const DiagnosisScope diagnosis(session.console(), session.storageOf(expected.root()).diagnosis());
        SessionExportSource stored(session);
        Checker checker(stored, session.console(), expected, complete, against,
                        times_ ? Checker::Times::Compare : Checker::Times::Ignore);
        checker.run();
        return checker.totals(); // the destructor clears the progress line
    }

    bool times_ = false;
};

} // namespace

std::unique_ptr<Command> makeCheckCommand() {
    return std::make_unique<CheckCommand>();
}

} // namespace storage::host
