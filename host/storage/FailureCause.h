#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/IProvider.h"

#include <optional>
#include <string>

// One error code stands for several causes. The storage shows which one it was, if it has not changed meanwhile.
namespace storage::host {

/// The cause of a failure in words, as certain as it can be known: the storage is asked which entries exist and are writable.
/// @return for example "folder /a does not exist"; the exception's own reason when the storage does not show the cause, or fails
std::string causeOf(const foundation::storage::provider::Exception& error,
                    const foundation::storage::provider::IProvider& provider);

/// Why no folder can hold the entry at `path`.
/// @return for example "folder /a does not exist" or "/a is not a folder"; nothing when the folder exists
std::optional<std::string> whyNoFolderHolds(const foundation::storage::provider::IProvider& provider,
                                            const StoragePath& path);

} // namespace storage::host
