#include "host/commands/TransferRules.h"

#include "host/storage/EntryRules.h"
#include "host/storage/FailureCause.h"
#include "host/storage/TreeWalk.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

using provider::EntryExistence;

void refuseImpossibleTransfer(const Session& session, const StoragePath& source, const StoragePath& target) {
    if (source == target) {
        throw CommandError(source.printed(), "source and destination are the same");
    }
    if (source.contains(target) && existence(session.provider(source), source) == EntryExistence::Folder) {
        throw CommandError(source.printed(),
                           "a folder cannot be moved or copied into itself, " + target.printed());
    }
    if (const auto reason = whyNoParentFolder(session.provider(target), target)) {
        throw CommandError(source.printed(), "cannot create " + target.printed() + ": " + *reason);
    }
    refuseReadOnlyFolder(session, target.parent());
}

void refuseOtherKind(const Session& session, EntryExistence kind, const StoragePath& target) {
    const EntryExistence found = existence(session.provider(target), target);
    if (found == EntryExistence::Missing || found == kind) {
        return;
    }
    throw CommandError(target.printed(), found == EntryExistence::File
                                             ? "is a file, so a folder cannot replace it"
                                             : "is a folder, so a file cannot replace it");
}

void refuseRemovingCurrentFolder(const Session& session, const StoragePath& path) {
    if (path.isRoot()) {
        throw CommandError(path.printed(), "the root folder cannot be removed");
    }
    if (path.contains(session.currentFolder())) {
        throw CommandError(path.printed(), "is or contains the current folder; leave it with cd");
    }
}

void requireWritableFolder(const Session& session, const StoragePath& path) {
    requireFolder(session.provider(path), path);
    refuseReadOnlyFolder(session, path);
}

void refuseReadOnlyFolders(const Session& session, const StoragePath& top) {
    for (TreeWalk walk(session.provider(top), top); const auto step = walk.next();) {
        Interruption::check();
        if (step->kind == TreeWalk::Step::Kind::Folder) {
            refuseReadOnlyFolder(session, step->path);
            walk.descend();
        }
    }
}

void refuseReadOnlyFolder(const Session& session, const StoragePath& path) {
    if (!session.provider(path).doGetFolderAttributes(path.iri()).isWritable()) {
        throw CommandError(path.printed(), "the folder is read-only");
    }
}

} // namespace storage::host
