#pragma once

#include "host/storage/StoragePath.h"

#include <string>

namespace storage::host {

/// The common prefix of the paths of all entries below a folder.
inline std::u16string prefixBelow(const StoragePath& folder) {
    return folder.isRoot() ? folder.text() : folder.text() + u'/';
}

} // namespace storage::host
