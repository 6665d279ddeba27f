#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"
#include "host/support/Counted.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"

#include <charconv>

namespace storage::host {

namespace {

using Step = TreeWalk::Step;

class TreeCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.option("-L", "DEPTH", depthText_, "print only DEPTH levels, but count all");
        syntax.operands(0, 1);
    }

    void run(Session& session, const Words& operands) override {
        readDepth();
        const std::string word = operands.empty() ? "." : operands.front();
        session.attempt(word, [&](const StoragePath& top) { show(session, word, top); });
    }

private:
    void show(Session& session, const std::string& word, const StoragePath& top) {
        requireEntry(session.provider(top), top);
        session.console().out() << session.console().shown(displayPath(word, top, top)) << '\n';
        for (TreeWalk walk(session.provider(top), top); const auto step = walk.next();) {
            Interruption::check();
            session.console().attempt(step->path.printed(), [&] { visit(session, walk, *step); });
        }
        session.console().out() << '\n'
                                << counted(folders_, "folder") << ", " << counted(files_, "file") << '\n';
    }

    void readDepth() {
        if (!depthText_) {
            return;
        }
        const char* const end = depthText_->data() + depthText_->size();
        const auto result = std::from_chars(depthText_->data(), end, depth_);
        if (result.ec != std::errc() || result.ptr != end || depth_ == 0) {
            throw UsageError("-L: '" + *depthText_ + "' is not a number of levels");
        }
    }

    void visit(Session& session, TreeWalk& walk, const Step& step) {
        if (step.kind == Step::Kind::FolderDone) {
            return;
        }
        draw(session, step);
        if (step.kind == Step::Kind::File) {
            ++files_;
        } else {
            ++folders_;
            walk.descend();
        }
    }

    void draw(Session& session, const Step& step) {
        if (step.depth == 0 || step.depth > depth_) {
            return;
        }
        const bool last = step.position == Step::Position::Last;
        lines_.resize(step.depth - 1); // keep the folders above this entry
        std::ostream& out = session.console().out();
        for (const char* const line : lines_) {
            out << line;
        }
        const std::string name = session.console().shown(step.name);
        out << (last ? "└── " : "├── ")
            << (step.kind == Step::Kind::Folder ? session.console().asFolder(name) : name) << '\n';
        lines_.push_back(last ? "    " : "│   ");
    }

    std::optional<std::string> depthText_;
    std::size_t depth_ = CommandSyntax::any;
    unsigned long long folders_ = 0;
    unsigned long long files_ = 0;
    std::vector<const char*> lines_; ///< indentation of an entry, one piece per folder above it
};

} // namespace

std::unique_ptr<Command> makeTreeCommand() {
    return std::make_unique<TreeCommand>();
}

} // namespace storage::host
