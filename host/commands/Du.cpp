#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"
#include "host/support/HumanSize.h"

namespace storage::host {

namespace {

using Step = TreeWalk::Step;

class DuCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-s", summary_, "show the sum of each PATH only");
        syntax.flag("-h", human_, "show sizes as 1.5K or 12M");
        syntax.operands(0, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands.empty() ? Words{"."} : operands) {
            session.console().attempt(word, [&] { sumUp(session, word); });
        }
    }

private:
    void sumUp(Session& session, const std::string& word) {
        const StoragePath top = session.resolve(word);
        requireEntry(session.provider(), top);
        sums_ = {0};
        for (TreeWalk walk(session.provider(), top); const auto step = walk.next();) {
            session.interruption().check();
            session.console().attempt(step->path.printed(), [&] { visit(session, walk, *step, word, top); });
        }
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
            sum = session.provider().doGetFileAttributes(step.path.iri()).getSize();
            break;
        case Step::Kind::FolderDone:
            sum = sums_.back();
            sums_.pop_back();
            break;
        }
        sums_.back() += sum;
        if (step.depth == 0 || (step.kind == Step::Kind::FolderDone && !summary_)) {
            session.console().out() << (human_ ? humanSize(sum) : std::to_string(sum)) << '\t'
                                    << session.console().shown(displayPath(word, top, step.path)) << '\n';
        }
    }

    bool summary_ = false;
    bool human_ = false;
    std::vector<unsigned long long> sums_; ///< of the folders that the walk is in, the innermost last
};

} // namespace

std::unique_ptr<Command> makeDuCommand() {
    return std::make_unique<DuCommand>();
}

} // namespace storage::host
