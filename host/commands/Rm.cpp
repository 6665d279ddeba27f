#include "host/CommandError.h"
#include "host/TransferRules.h"
#include "host/TreeWalk.h"
#include "host/commands/CommandFactories.h"

namespace storage::host {

namespace {

class RmCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-r", recursive_, "remove folders and all they hold, too");
        syntax.flag("-f", force_, "a missing PATH is no failure, read-only files are removed, too");
        syntax.operands(1, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        for (const std::string& word : operands) {
            session.console().attempt(word, [&] { remove(session, session.resolve(word)); });
        }
    }

private:
    void remove(Session& session, const StoragePath& path) const {
        if (force_ && session.existence(path) == Session::EntryExistence::Missing) {
            return;
        }
        const bool isFolder = session.requireEntry(path) == Session::EntryExistence::Folder;
        if (isFolder && !recursive_) {
            throw CommandError(path.printed(), "is a folder");
        }
        refuseRemovingCurrentFolder(session, path);
        if (force_) {
            makeFilesWritable(session, path);
        }
        if (isFolder) {
            session.provider().doRemoveFolderRecursively(path.iri());
        } else {
            session.provider().doRemoveFile(path.iri());
        }
    }

    static void makeFilesWritable(Session& session, const StoragePath& top) {
        for (TreeWalk walk(session.provider(), top); const auto step = walk.next();) {
            session.interruption().check();
            if (step->kind == TreeWalk::Step::Kind::File) {
                session.provider().doSetWritable(step->path.iri(), true);
            }
            walk.descend();
        }
    }

    bool recursive_ = false;
    bool force_ = false;
};

} // namespace

std::unique_ptr<Command> makeRmCommand() {
    return std::make_unique<RmCommand>();
}

} // namespace storage::host
