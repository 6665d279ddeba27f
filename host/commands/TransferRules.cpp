#include "host/commands/TransferRules.h"

#include "host/storage/EntryRules.h"
#include "host/storage/FailureCause.h"
#include "host/support/CommandError.h"

namespace storage::host {

using foundation::storage::provider::EntryExistence;

void refuseImpossibleTransfer(const Session& session, const StoragePath& source, const StoragePath& target) {
    if (source == target) {
        throw CommandError(source.printed(), "source and destination are the same");
    }
    if (source.contains(target) && existence(session.provider(), source) == EntryExistence::Folder) {
        throw CommandError(source.printed(), "a folder cannot go below itself, to " + target.printed());
    }
    if (const auto reason = whyNoFolderHolds(session.provider(), target)) {
        throw CommandError(source.printed(), "cannot go to " + target.printed() + ": " + *reason);
    }
    refuseReadOnlyFolder(session, target.parent());
}

void refuseRemovingCurrentFolder(const Session& session, const StoragePath& path) {
    if (path.isRoot()) {
        throw CommandError(path.printed(), "the root folder cannot be removed");
    }
    if (path.contains(session.currentFolder())) {
        throw CommandError(path.printed(), "the session stands in this folder; leave it first, with cd");
    }
}

void refuseReadOnlyFile(const Session& session, const StoragePath& path) {
    if (existence(session.provider(), path) == EntryExistence::File &&
        !session.provider().doGetFileAttributes(path.iri()).isWritable()) {
        throw CommandError(path.printed(), "the file is read-only");
    }
}

void requireWritableFolder(const Session& session, const StoragePath& path) {
    requireFolder(session.provider(), path);
    refuseReadOnlyFolder(session, path);
}

void refuseReadOnlyFolder(const Session& session, const StoragePath& path) {
    if (!session.provider().doGetFolderAttributes(path.iri()).isWritable()) {
        throw CommandError(path.printed(), "the folder is read-only");
    }
}

} // namespace storage::host
