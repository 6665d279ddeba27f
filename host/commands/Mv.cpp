#include "host/commands/CommandFactories.h"
#include "host/commands/TransferLoop.h"
#include "host/commands/TransferRules.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"

namespace storage::host {

namespace {

using foundation::storage::provider::EntryExistence;
using foundation::storage::provider::ReplacementPolicy;

/// A provider may stop half-way at a read-only folder and leave the tree in two pieces.
void refuseReadOnlyFolders(const Session& session, const StoragePath& top) {
    for (TreeWalk walk(session.provider(), top); const auto step = walk.next();) {
        session.interruption().check();
        if (step->kind == TreeWalk::Step::Kind::Folder) {
            refuseReadOnlyFolder(session, step->path);
            walk.descend();
        }
    }
}

class MvCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-f", force_, "replace an existing file or empty folder");
        syntax.operands(2, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        transferEach(session, operands, [&](const StoragePath& source, const StoragePath& target) {
            move(session, source, target);
        });
    }

private:
    void move(Session& session, const StoragePath& source, const StoragePath& target) const {
        const bool isFolder = requireEntry(session.provider(), source) == EntryExistence::Folder;
        refuseImpossibleTransfer(session, source, target);
        // A provider may remove what is to be replaced before it finds that the source cannot leave its
        // folder.
        requireWritableFolder(session, source.parent());
        const auto policy = force_ ? ReplacementPolicy::ReplaceExisting : ReplacementPolicy::RefuseExisting;
        if (isFolder) {
            refuseReadOnlyFolders(session, source);
            session.provider().doMoveFolder(source.iri(), target.iri(), policy);
        } else {
            if (force_) {
                refuseReadOnlyFile(session, target);
            }
            session.provider().doMoveFile(source.iri(), target.iri(), policy);
        }
        session.imports().moved(source, target);
        session.kept().moved(source, target);
        if (source.contains(session.currentFolder())) {
            session.setCurrentFolder(session.currentFolder().rebased(source, target));
        }
    }

    bool force_ = false;
};

} // namespace

std::unique_ptr<Command> makeMvCommand() {
    return std::make_unique<MvCommand>();
}

} // namespace storage::host
