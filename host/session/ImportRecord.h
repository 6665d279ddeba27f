#pragma once

#include "host/storage/StoragePath.h"

#include <string>

namespace storage::host {

/// That an entry of the disk was imported, and where its copy is now. A value.
struct ImportRecord {
    std::string diskPath; ///< absolute
    StoragePath path;

    bool operator==(const ImportRecord&) const = default;
};

} // namespace storage::host
