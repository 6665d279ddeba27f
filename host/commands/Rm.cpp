#include "host/commands/CommandFactories.h"
#include "host/commands/FileRemoval.h"
#include "host/commands/TransferRules.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

using provider::EntryExistence;

namespace {

using Step = TreeWalk::Step;

class RmCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-r", recursive_, "remove folders and their content");
        syntax.flag("-f", force_, "ignore a missing PATH; remove read-only files");
        syntax.operands(1, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.attempt(word, [&](const StoragePath& path) { remove(session, path); });
        }
    }

private:
    void remove(Session& session, const StoragePath& path) const {
        if (force_ && existence(session.provider(path), path) == EntryExistence::Missing) {
            return;
        }
        const bool isFolder = requireEntry(session.provider(path), path) == EntryExistence::Folder;
        if (isFolder && !recursive_) {
            throw CommandError(path.printed(), "is a folder; use rm -r");
        }
        refuseRemovingCurrentFolder(session, path);
        // Entry by entry, because a provider that removes a whole tree cannot be interrupted.
        for (TreeWalk walk(session.provider(path), path); const auto step = walk.next();) {
            Interruption::check();
            visit(session, walk, *step);
        }
    }

    void visit(Session& session, TreeWalk& walk, const Step& step) const {
        switch (step.kind) {
        case Step::Kind::File:
            removeFile(session, step.path);
            break;
        case Step::Kind::Folder:
            walk.descend();
            break;
        case Step::Kind::FolderDone:
            session.provider(step.path).doRemoveFolder(step.path.iri());
            session.kept(step.path).removed(step.path);
            break;
        }
    }

    void removeFile(Session& session, const StoragePath& file) const {
        if (force_) {
            removeFileEvenIfReadOnly(session, file);
            return;
        }
        session.provider(file).doRemoveFile(file.iri());
        session.kept(file).removed(file);
    }

    bool recursive_ = false;
    bool force_ = false;
};

} // namespace

std::unique_ptr<Command> makeRmCommand() {
    return std::make_unique<RmCommand>();
}

} // namespace storage::host
