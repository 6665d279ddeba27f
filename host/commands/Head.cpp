#include "host/commands/CommandFactories.h"
#include "host/commands/FileEndCommand.h"
#include "host/commands/PrintBytes.h"
#include "host/support/Interruption.h"

namespace storage::host {

namespace {

class HeadCommand final : public FileEndCommand {
private:
    void print(Session& session, ByteStreamDevice file, const Amount& amount) override {
        if (amount.unit == Amount::Unit::Bytes) {
            printBytes(session, std::move(file), amount.number);
        } else {
            printLines(session, std::move(file), amount.number);
        }
    }

    static void printLines(Session& session, ByteStreamDevice file, unsigned long long lines) {
        std::vector<char> buffer(transferBufferSize);
        while (lines > 0) {
            Interruption::check();
            const std::streamsize count =
                file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
            std::streamsize wanted = 0;
            for (; wanted < count && lines > 0; ++wanted) {
                lines -= buffer[static_cast<std::size_t>(wanted)] == '\n' ? 1 : 0;
            }
            if (count < 0) {
                return;
            }
            session.console().out().write(buffer.data(), wanted);
        }
    }
};

} // namespace

std::unique_ptr<Command> makeHeadCommand() {
    return std::make_unique<HeadCommand>();
}

} // namespace storage::host
