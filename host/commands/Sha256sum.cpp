#include "host/commands/CommandFactories.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/support/Interruption.h"
#include "host/support/Utf.h"

#include <array>
#include <fmt/format.h>
#include <sha2.h>

namespace storage::host {

namespace {

class Sha256sumCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(1, CommandSyntax::any); }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) {
                requireFile(session.provider(path), path);
                const std::string sum = sumOf(session, path);
                session.console().out() << sum << "  " << session.console().shown(toUtf16(word)) << '\n';
            });
        }
    }

private:
    static std::string sumOf(const Session& session, const StoragePath& path) {
        ByteStreamDevice file(session.provider(path).doOpenReadOnlyStream(path.iri()));
        std::vector<char> buffer(transferBufferSize);
        SHA2_CTX state;
        ::SHA256Init(&state);
        for (;;) {
            Interruption::check();
            const std::streamsize count =
                file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
            if (count < 0) {
                break;
            }
            ::SHA256Update(&state, reinterpret_cast<const std::uint8_t*>(buffer.data()),
                           static_cast<std::size_t>(count));
        }
        std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
        ::SHA256Final(digest.data(), &state);
        return fmt::format("{:02x}", fmt::join(digest, ""));
    }
};

} // namespace

std::unique_ptr<Command> makeSha256sumCommand() {
    return std::make_unique<Sha256sumCommand>();
}

} // namespace storage::host
