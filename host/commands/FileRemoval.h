#pragma once

#include "host/session/Session.h"
#include "host/storage/StoragePath.h"

namespace storage::host {

/// Removes a file, also a read-only one. A read-only file that cannot be removed stays read-only.
/// @throws foundation::storage::provider::Exception  as `doRemoveFile`
void removeFileEvenIfReadOnly(Session& session, const StoragePath& file);

} // namespace storage::host
