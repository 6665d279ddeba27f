#include "host/TransferRules.h"

#include "host/CommandError.h"

namespace storage::host {

void refuseImpossibleTransfer(const Session& session, const StoragePath& source, const StoragePath& target) {
    if (source == target) {
        throw CommandError(source.printed(), "source and destination are the same");
    }
    if (source.contains(target) && session.existence(source) == Session::EntryExistence::Folder) {
        throw CommandError(source.printed(), "a folder cannot go below itself, to " + target.printed());
    }
    requireWritableFolder(session, target.parent());
}

void refuseReadOnlyFile(const Session& session, const StoragePath& path) {
    if (session.existence(path) == Session::EntryExistence::File &&
        !session.provider().doGetFileAttributes(path.iri()).isWritable()) {
        throw CommandError(path.printed(), "the file is read-only");
    }
}

void requireWritableFolder(const Session& session, const StoragePath& path) {
    session.requireFolder(path);
    refuseReadOnlyFolder(session, path);
}

void refuseReadOnlyFolder(const Session& session, const StoragePath& path) {
    if (!session.provider().doGetFolderAttributes(path.iri()).isWritable()) {
        throw CommandError(path.printed(), "the folder is read-only");
    }
}

} // namespace storage::host
