#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/storage/LineReader.h"
#include "host/storage/TreeWalk.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/RegularExpression.h"
#include "host/support/UsageError.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

namespace {

using provider::EntryExistence;
using Step = TreeWalk::Step;

class GrepCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-i", ignoresCase_, "ignore case");
        syntax.flag("-n", numbers_, "print line numbers");
        syntax.flag("-v", inverted_, "print the lines that do not match");
        syntax.flag("-c", counts_, "print only the number of selected lines, per file");
        syntax.flag("-r", recursive_, "search folders recursively, by default the current one");
        syntax.operands(1, CommandSyntax::any);
        syntax.firstOperand(WordKind::Text);
    }

    void run(Session& session, const Words& operands) override {
        Words words(operands.begin() + 1, operands.end());
        if (words.empty() && !recursive_) {
            throw UsageError("missing PATH; without -r it is required");
        }
        if (words.empty()) {
            words.emplace_back(".");
        }
        using Case = RegularExpression::Case;
        const RegularExpression pattern(operands.front(), ignoresCase_ ? Case::Ignored : Case::Distinguished);
        showsPaths_ = recursive_ || words.size() > 1;
        for (const std::string& word : words) {
            session.attempt(word, [&](const StoragePath& top) { searchBelow(session, pattern, word, top); });
        }
    }

private:
    void searchBelow(Session& session, const RegularExpression& pattern, const std::string& word,
                     const StoragePath& top) const {
        if (requireEntry(session.provider(top), top) == EntryExistence::Folder && !recursive_) {
            throw CommandError(top.printed(), "is a folder; use grep -r");
        }
        for (TreeWalk walk(session.provider(top), top); const auto step = walk.next();) {
            Interruption::check();
            session.console().attempt(step->path.printed(), [&] {
                if (step->kind == Step::Kind::Folder) {
                    walk.descend();
                } else if (step->kind == Step::Kind::File) {
                    search(session, pattern, step->path, displayPath(word, top, step->path));
                }
            });
        }
    }

    void search(Session& session, const RegularExpression& pattern, const StoragePath& path,
                const std::u16string& displayed) const {
        std::ostream& out = session.console().out();
        const std::string prefix = showsPaths_ ? session.console().shown(displayed) + ':' : "";
        LineReader lines(ByteStreamDevice(session.provider(path).doOpenReadOnlyStream(path.iri())));
        unsigned long long number = 0;
        unsigned long long found = 0;
        while (const auto line = lines.next()) {
            Interruption::check();
            ++number;
            if (pattern.matchesIn(*line) == inverted_) {
                continue;
            }
            ++found;
            if (!counts_) {
                out << prefix << (numbers_ ? std::to_string(number) + ':' : "") << *line << '\n';
            }
        }
        if (counts_) {
            out << prefix << found << '\n';
        }
    }

    bool ignoresCase_ = false;
    bool numbers_ = false;
    bool inverted_ = false;
    bool counts_ = false;
    bool recursive_ = false;
    bool showsPaths_ = false;
};

} // namespace

std::unique_ptr<Command> makeGrepCommand() {
    return std::make_unique<GrepCommand>();
}

} // namespace storage::host
