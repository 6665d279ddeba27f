#include "host/commands/CommandFactories.h"
#include "host/disk/DiskFolder.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/UsageError.h"
#include "host/transfer/Checker.h"

namespace storage::host {

namespace {

class CheckCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-t", times_, "compare the times of files, too");
        syntax.operands(0, 2);
    }

    void run(Session& session, const Words& operands) override {
        TransferTotals totals;
        {
            Checker checker(session.provider(), session.console(), session.interruption(), session.imports(),
                            times_ ? Checker::Times::Compare : Checker::Times::Ignore);
            for (const ImportRecord& record : recordsToCheck(session, operands)) {
                session.console().attempt(record.path.printed(),
                                          [&] { checker.run(record.path, record.diskPath); });
            }
            totals = checker.totals();
        } // takes its progress off the terminal
        const std::size_t differences = session.console().failuresOfCommand();
        session.console().out() << "check: " << totals.summary() << ": "
                                << (differences == 0 ? "equal" : counted(differences, "difference")) << '\n';
    }

private:
    static std::vector<ImportRecord> recordsToCheck(Session& session, const Words& operands) {
        if (operands.size() == 1) {
            throw UsageError("PATH needs a DISK-PATH to be compared with");
        }
        if (operands.size() == 2) {
            return {{diskOperand(operands[1]), session.resolve(operands[0])}};
        }
        if (session.imports().records().empty()) {
            throw CommandError("", "nothing was imported that could be checked");
        }
        return session.imports().records();
    }

    bool times_ = false;
};

} // namespace

std::unique_ptr<Command> makeCheckCommand() {
    return std::make_unique<CheckCommand>();
}

} // namespace storage::host
