#include "host/commands/CommandFactories.h"
#include "host/disk/DiskPath.h"
#include "host/support/CommandError.h"

#include <cerrno>
#include <unistd.h>

namespace storage::host {

namespace {

class LcdCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, 1, WordKind::Disk); }

    void run(Session& session, const Words& operands) override {
        session.console().attempt(operands.front(), [&] {
            const std::string folder = diskOperand(operands.front());
            if (::chdir(folder.c_str()) != 0) {
                throw diskError(folder, errno);
            }
        });
    }
};

} // namespace

std::unique_ptr<Command> makeLcdCommand() {
    return std::make_unique<LcdCommand>();
}

} // namespace storage::host
