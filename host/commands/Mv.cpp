#include "host/commands/CommandFactories.h"
#include "host/commands/StorageMove.h"
#include "host/commands/TransferLoop.h"
#include "host/commands/TransferRules.h"
#include "host/storage/EntryRules.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

namespace {

using provider::EntryExistence;
using provider::ReplacementPolicy;

class MvCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-f", force_, "replace an existing file or empty folder");
        syntax.operands(2, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        ProgressMeter progress(session.console());
        transferEach(session, operands, [&](const StoragePath& source, const StoragePath& target) {
            if (source.storage() == target.storage()) {
                move(session, source, target);
            } else {
                moveBetween(session, source, target, progress);
            }
        });
    }

private:
    void move(Session& session, const StoragePath& source, const StoragePath& target) const {
        const EntryExistence kind = requireEntry(session.provider(source), source);
        refuseImpossibleTransfer(session, source, target);
        // A provider may remove the replaced entry before it finds that the source's folder is read-only.
        requireWritableFolder(session, source.parent());
        const auto policy = force_ ? ReplacementPolicy::ReplaceExisting : ReplacementPolicy::RefuseExisting;
        if (force_) {
            refuseOtherKind(session, kind, target);
        }
        if (kind == EntryExistence::Folder) {
            // A provider may stop midway at a read-only folder and leave the tree split.
            refuseReadOnlyFolders(session, source);
            session.provider(source).doMoveFolder(source.iri(), target.iri(), policy);
        } else {
            if (force_) {
                refuseReadOnlyFile(session.provider(target), target);
            }
            session.provider(source).doMoveFile(source.iri(), target.iri(), policy);
        }
        session.imports(source).moved(source, target);
        session.kept(source).moved(source, target);
        if (source.contains(session.currentFolder())) {
            session.setCurrentFolder(session.currentFolder().rebased(source, target));
        }
    }

    void moveBetween(Session& session, const StoragePath& source, const StoragePath& target,
                     ProgressMeter& progress) const {
        requireEntry(session.provider(source), source);
        session.storageOf(target).attribute([&] { refuseImpossibleTransfer(session, source, target); });
        using Existing = StorageMove::Existing;
        StorageMove(session, progress, force_ ? Existing::Replaced : Existing::Refused).run(source, target);
    }

    bool force_ = false;
};

} // namespace

std::unique_ptr<Command> makeMvCommand() {
    return std::make_unique<MvCommand>();
}

} // namespace storage::host
