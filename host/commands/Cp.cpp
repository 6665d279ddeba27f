#include "host/commands/CommandFactories.h"
#include "host/commands/TransferLoop.h"
#include "host/commands/TransferRules.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/transfer/StorageCopier.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

namespace {

using provider::EntryExistence;
using provider::ReplacementPolicy;
using Step = TreeWalk::Step;

class CpCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-r", recursive_, "copy folders and their content");
        syntax.operands(2, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        ProgressMeter progress(session.console());
        transferEach(session, operands, [&](const StoragePath& source, const StoragePath& target) {
            if (source.storage() == target.storage()) {
                copy(session, source, target);
            } else {
                copyBetween(session, source, target, progress);
            }
        });
    }

private:
    void requireSource(const Session& session, const StoragePath& source) const {
        if (requireEntry(session.provider(source), source) == EntryExistence::Folder && !recursive_) {
            throw CommandError(source.printed(), "is a folder; use cp -r");
        }
    }

    void copyBetween(Session& session, const StoragePath& source, const StoragePath& target,
                     ProgressMeter& progress) const {
        requireSource(session, source);
        session.storageOf(target).attribute([&] { refuseImpossibleTransfer(session, source, target); });
        StorageCopier(session, target, progress).run(source, target, RootAttributes::Untouched);
    }

    void copy(Session& session, const StoragePath& source, const StoragePath& target) const {
        requireSource(session, source);
        refuseImpossibleTransfer(session, source, target);
        for (TreeWalk walk(session.provider(source), source); const auto step = walk.next();) {
            Interruption::check();
            session.console().attempt(step->path.printed(), [&] {
                visit(session, walk, *step, step->path.rebased(source, target));
            });
        }
    }

    static void visit(Session& session, TreeWalk& walk, const Step& step, const StoragePath& target) {
        switch (step.kind) {
        case Step::Kind::File:
            copyFile(session, step.path, target);
            break;
        case Step::Kind::Folder:
            if (!session.provider(target).doFolderExists(target.iri())) {
                session.provider(target).doCreateFolder(target.iri());
                session.kept(target).copied(step.path, target);
            }
            session.kept(target).copiedSpecial(step.path, target);
            walk.descend();
            break;
        case Step::Kind::FolderDone:
            break;
        }
    }

    static void copyFile(Session& session, const StoragePath& source, const StoragePath& target) {
        refuseReadOnlyFile(session.provider(target), target);
        session.provider(source).doCopyFileAtomic(source.iri(), target.iri(),
                                                  ReplacementPolicy::ReplaceExisting,
                                                  [](unsigned long long) { Interruption::check(); });
        session.kept(target).copied(source, target);
    }

    bool recursive_ = false;
};

} // namespace

std::unique_ptr<Command> makeCpCommand() {
    return std::make_unique<CpCommand>();
}

} // namespace storage::host
