#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"
#include "host/support/HumanSize.h"
#include "host/support/Interruption.h"

#include <cmath>
#include <fmt/format.h>

namespace storage::host {

namespace {

using Step = TreeWalk::Step;

class DuCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-s", summary_, "print only the total of each PATH");
        syntax.flag("-h", human_, "print sizes such as 1.5K or 12M");
        syntax.flag("--bars", bars_, "draw each folder's share of the total of PATH");
        syntax.operands(0, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands.empty() ? Words{"."} : operands) {
            session.attempt(word, [&](const StoragePath& top) { sumUp(session, word, top); });
        }
    }

private:
    void sumUp(Session& session, const std::string& word, const StoragePath& top) {
        requireEntry(session.provider(top), top);
        sums_ = {0};
        for (TreeWalk walk(session.provider(top), top); const auto step = walk.next();) {
            Interruption::check();
            session.console().attempt(step->path.printed(), [&] { visit(session, walk, *step, word, top); });
        }
        for (const Row& row : rows_) {
            print(session, row);
        }
        rows_.clear();
    }

    void visit(Session& session, TreeWalk& walk, const Step& step, const std::string& word,
               const StoragePath& top) {
        unsigned long long sum = 0;
        switch (step.kind) {
        case Step::Kind::Folder:
            walk.descend();
            sums_.push_back(0);
            return;
        case Step::Kind::File:
            sum = session.provider(step.path).doGetFileAttributes(step.path.iri()).getSize();
            break;
        case Step::Kind::FolderDone:
            sum = sums_.back();
            sums_.pop_back();
            break;
        }
        sums_.back() += sum;
        if (step.depth == 0 || (step.kind == Step::Kind::FolderDone && !summary_)) {
            const Row row{sum, session.console().shown(displayPath(word, top, step.path))};
            if (bars_) {
                rows_.push_back(row);
            } else {
                print(session, row);
            }
        }
    }

    struct Row {
        unsigned long long sum = 0;
        std::string path;
    };

    void print(Session& session, const Row& row) const {
        session.console().out() << (human_ ? humanSize(row.sum) : std::to_string(row.sum)) << '\t'
                                << (bars_ ? bar(row.sum, rows_.back().sum) : "") << row.path << '\n';
    }

    /// @param total  the sum of the whole tree, which is the last row
    static std::string bar(unsigned long long sum, unsigned long long total) {
        constexpr double width = 20;
        const double share = total == 0 ? 0 : static_cast<double>(sum) / static_cast<double>(total);
        const auto drawn = static_cast<std::size_t>(std::lround(share * width));
        std::string text;
        for (std::size_t i = 0; i < static_cast<std::size_t>(width); ++i) {
            text += i < drawn ? "█" : "░";
        }
        return fmt::format("{} {:>3}%\t", text, std::lround(share * 100));
    }

    bool summary_ = false;
    bool human_ = false;
    bool bars_ = false;
    std::vector<Row> rows_;                ///< rows of one PATH; used only with bars
    std::vector<unsigned long long> sums_; ///< sums of the open folders of the walk, innermost last
};

} // namespace

std::unique_ptr<Command> makeDuCommand() {
    return std::make_unique<DuCommand>();
}

} // namespace storage::host
