#pragma once

#include "host/storage/StoragePath.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <optional>
#include <string>

// An error code has several possible causes. The state of the storage shows which one applies, unless it has
// changed meanwhile.
namespace storage::host {

/// Describes the probable cause of a failure by checking which entries exist and are writable.
/// @param root  root folder of the storage, for the paths in the text
/// @return for example "folder /a does not exist"; the exception's own reason if the storage does not show
///     the cause, or fails
std::string causeOf(const provider::Exception& error, const provider::IProvider& provider,
                    const StoragePath& root);

/// Describes why there is no parent folder for an entry at `path`.
/// @return for example "folder /a does not exist" or "/a is not a folder"; nothing if the folder exists
std::optional<std::string> whyNoParentFolder(const provider::IProvider& provider, const StoragePath& path);

} // namespace storage::host
