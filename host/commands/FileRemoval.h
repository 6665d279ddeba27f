#pragma once

#include "host/session/Session.h"
#include "host/storage/StoragePath.h"

namespace storage::host {

/// Removes a file, also a read-only one. A read-only file that cannot be removed is made read-only again,
/// unless the provider refuses that too.
/// @throws the first failure of `doGetFileAttributes`, `doSetWritable` and `doRemoveFile`
void removeFileEvenIfReadOnly(Session& session, const StoragePath& file);

} // namespace storage::host
