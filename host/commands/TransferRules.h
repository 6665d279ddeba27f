#pragma once

#include "host/session/Session.h"
#include "host/storage/StoragePath.h"

namespace storage::host {

/// Refuses to copy or move an entry onto itself or a folder below itself, either of which would lose the
/// entry or never end, and a target whose folder cannot take it.
/// @throws CommandError
void refuseImpossibleTransfer(const Session& session, const StoragePath& source, const StoragePath& target);

/// Refuses to remove the root, or a folder that the session stands in.
/// @throws CommandError
void refuseRemovingCurrentFolder(const Session& session, const StoragePath& path);

/// Refuses a folder that is read-only.
/// @param path  an existing folder
/// @throws CommandError
void refuseReadOnlyFolder(const Session& session, const StoragePath& path);

/// Refuses a tree with a read-only folder, which would keep what it holds. A file is no such tree.
/// @throws CommandError
void refuseReadOnlyFolders(const Session& session, const StoragePath& top);

/// Refuses a folder that is missing or read-only.
/// @throws CommandError
void requireWritableFolder(const Session& session, const StoragePath& path);

} // namespace storage::host
