#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/IProvider.h"

#include <optional>

// What must exist at a path, or must not. Each failure names the entry that is the reason.
namespace storage::host {

/// What exists at `path`.
foundation::storage::provider::EntryExistence
existence(const foundation::storage::provider::IProvider& provider, const StoragePath& path);

/// @return what exists at `path`, never Missing
/// @throws CommandError when nothing exists there, naming the file above `path` if that is why
foundation::storage::provider::EntryExistence
requireEntry(const foundation::storage::provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError unless a folder exists at `path`
void requireFolder(const foundation::storage::provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError unless a file exists at `path`
void requireFile(const foundation::storage::provider::IProvider& provider, const StoragePath& path);

/// The topmost entry above a path that keeps everything from existing there. A value.
struct Obstacle {
    enum class Kind {
        File,    ///< a file exists where a folder should be
        Missing, ///< nothing exists there
    };

    StoragePath path;
    Kind kind = Kind::Missing;
};

/// What keeps an entry at `path` from existing.
/// @return nothing when its folder exists
std::optional<Obstacle> obstacleAbove(const foundation::storage::provider::IProvider& provider,
                                      const StoragePath& path);

/// Refuses a path that leads through a file, where nothing can exist.
/// @throws CommandError naming the file
void refuseFileAbove(const foundation::storage::provider::IProvider& provider, const StoragePath& path);

/// @throws CommandError when a folder exists at `path`, or a file above it
void refuseFolder(const foundation::storage::provider::IProvider& provider, const StoragePath& path);

} // namespace storage::host
