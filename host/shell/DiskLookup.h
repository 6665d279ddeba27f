#pragma once

#include "host/shell/PathLookup.h"

namespace storage::host {

/// Looks up paths on the disk. A symbolic link to a folder counts as a folder. Unreadable entries are not
/// found.
///
/// Not thread-safe.
class DiskLookup final : public PathLookup {
public:
    std::vector<std::string> names(const std::string& folder, Wanted wanted) const override;
    bool exists(const std::string& path, Wanted wanted) const override;
};

} // namespace storage::host
