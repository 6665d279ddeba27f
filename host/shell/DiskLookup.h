#pragma once

#include "host/shell/PathLookup.h"

namespace storage::host {

/// Looks up paths on the disk. A symbolic link to a folder counts as a folder. What cannot be read is not found.
///
/// Thread safety: one object is for one thread.
class DiskLookup final : public PathLookup {
public:
    std::vector<std::string> names(const std::string& folder, Wanted wanted) const override;
    bool exists(const std::string& path, Wanted wanted) const override;
};

} // namespace storage::host
