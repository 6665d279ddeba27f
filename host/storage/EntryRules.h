#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <optional>

// Checks whether entries exist. Each failure names the entry that causes it.
namespace storage::host {

/// What exists at `path`.
provider::EntryExistence existence(const provider::IProvider& provider, const StoragePath& path);

/// @return what exists at `path`, never Missing
/// @throws CommandError when nothing exists there; names a file above `path` if that is the cause
provider::EntryExistence requireEntry(const provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError unless a folder exists at `path`
void requireFolder(const provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError unless a file exists at `path`
void requireFile(const provider::IProvider& provider, const StoragePath& path);

/// The topmost entry above a path that prevents an entry from existing there. A value.
struct Obstacle {
    enum class Kind {
        File,    ///< a file exists in place of a folder
        Missing, ///< nothing exists there
    };

    StoragePath path;
    Kind kind = Kind::Missing;
};

/// Finds the obstacle for an entry at `path`.
/// @return nothing if the parent folder exists
std::optional<Obstacle> obstacleAbove(const provider::IProvider& provider, const StoragePath& path);

/// Rejects a path with a file among its ancestors.
/// @throws CommandError naming the file
void refuseFileAbove(const provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError when a folder exists at `path`, or a file above it
void refuseFolder(const provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError when a read-only file exists at `path`
void refuseReadOnlyFile(const provider::IProvider& provider, const StoragePath& path);

} // namespace storage::host
