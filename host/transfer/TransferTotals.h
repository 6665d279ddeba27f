#pragma once

#include <string>

namespace storage::host {

/// What an import, export or check went through. A value.
struct TransferTotals {
    unsigned long long folders = 0;
    unsigned long long files = 0;
    unsigned long long bytes = 0;
    unsigned long long skipped = 0; ///< entries of kinds that a storage has no place for

    /// "12 folders, 345 files, 6789 bytes", and ", skipped 3" if anything was.
    std::string summary() const;
};

} // namespace storage::host
