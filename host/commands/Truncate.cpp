#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <charconv>
#include <limits>
#include <string_view>

namespace storage::host {

using provider::EntryExistence;

namespace {

constexpr unsigned long long largest = std::numeric_limits<long>::max(); ///< largest position of a stream
constexpr unsigned long long reportedStep = 64ULL << 20U;
constexpr std::string_view units = "KMGT"; ///< each 1024 times its predecessor

unsigned long long parseSize(const std::string& text) {
    const auto refuse = [&text] { throw UsageError("-s: '" + text + "' is not a size"); };
    unsigned long long size = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, size);
    if (failure != std::errc() || size > largest) {
        refuse();
    }
    if (rest == end) {
        return size;
    }
    const std::size_t unit = units.find(*rest);
    const unsigned shift = 10 * (static_cast<unsigned>(unit) + 1);
    if (unit == std::string_view::npos || rest + 1 != end || size > largest >> shift) {
        refuse();
    }
    return size << shift;
}

class TruncateCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.option("-s", "SIZE", sizeText_,
                      "size in bytes; the suffixes K, M, G and T are powers of 1024");
        syntax.operands(1, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        if (!sizeText_) {
            throw UsageError("missing -s SIZE");
        }
        const unsigned long long size = parseSize(*sizeText_);
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) {
                refuseFolder(session.provider(path), path);
                if (existence(session.provider(path), path) == EntryExistence::Missing) {
                    session.provider(path).doCreateFile(path.iri());
                }
                session.kept(path).changed(path);
                resize(session, path, size);
            });
        }
    }

private:
    /// Grows in steps, because a call of the provider cannot be interrupted. Restores the old size if growing
    /// fails.
    static void resize(Session& session, const StoragePath& path, unsigned long long size) {
        const auto& provider = session.provider(path);
        const unsigned long long oldSize = provider.doGetFileAttributes(path.iri()).getSize();
        try {
            for (unsigned long long reached = oldSize; reached + reportedStep < size;
                 reached += reportedStep) {
                Interruption::check();
                provider.doTruncateToSize(path.iri(), reached + reportedStep);
            }
            provider.doTruncateToSize(path.iri(), size);
        } catch (...) {
            if (oldSize < size) {
                provider.doTruncateToSize(path.iri(), oldSize);
            }
            throw;
        }
    }

    std::optional<std::string> sizeText_;
};

} // namespace

std::unique_ptr<Command> makeTruncateCommand() {
    return std::make_unique<TruncateCommand>();
}

} // namespace storage::host
