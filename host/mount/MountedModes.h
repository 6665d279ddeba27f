#pragma once

#include "host/mount/MountedStorage.h"
#include "host/session/EntryModes.h"

#include <optional>

namespace storage::host {

// A provider does not keep permissions. A mount does, and carries them from the disk to its entries and back.

/// Gives the entries of a mounted storage the permissions that they were imported with. Before the storage is mounted.
void adoptModes(MountedStorage& storage, const EntryModes& modes);

/// The permission bits of an entry as programs saw them; nothing if there is no such entry for them.
std::optional<mode_t> modeOf(MountedStorage& storage, const StoragePath& path);

} // namespace storage::host
