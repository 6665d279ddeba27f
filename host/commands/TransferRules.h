#pragma once

#include "host/session/Session.h"
#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/EntryExistence.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

/// Refuses to copy or move an entry onto itself, or a folder into itself: either would lose the entry or not
/// terminate. Also refuses a target if its parent is missing, read-only or not a folder.
/// @throws CommandError
void refuseImpossibleTransfer(const Session& session, const StoragePath& source, const StoragePath& target);

/// Refuses to replace a file by a folder, or a folder by a file. A missing target is accepted.
/// @param kind  of the entry that replaces the target
/// @throws CommandError
void refuseOtherKind(const Session& session, provider::EntryExistence kind, const StoragePath& target);

/// Refuses to remove the root folder, or a folder that is or contains the current folder.
/// @throws CommandError
void refuseRemovingCurrentFolder(const Session& session, const StoragePath& path);

/// Refuses a read-only folder.
/// @param path  an existing folder
/// @throws CommandError
void refuseReadOnlyFolder(const Session& session, const StoragePath& path);

/// Refuses a tree that contains a read-only folder, because its entries cannot be removed. Accepts any file.
/// @throws CommandError
void refuseReadOnlyFolders(const Session& session, const StoragePath& top);

/// Refuses a missing or read-only folder.
/// @throws CommandError
void requireWritableFolder(const Session& session, const StoragePath& path);

} // namespace storage::host
