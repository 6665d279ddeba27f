#pragma once

#include <string>

namespace storage::host {

/// What an import, export or check processed. A value.
struct TransferTotals {
    unsigned long long folders = 0;
    unsigned long long files = 0;
    unsigned long long bytes = 0;
    unsigned long long symbolicLinks = 0;
    unsigned long long specialFiles = 0; ///< fifos and devices
    unsigned long long unchanged = 0;    ///< files that an update skips
    unsigned long long skipped = 0;      ///< entries that a transfer skips

    TransferTotals& operator+=(const TransferTotals& other) noexcept;

    /// "12 folders, 345 files, 6789 bytes", and if there were any ", 2 symbolic links", ", 1 special file",
    /// ", 4 unchanged" and ", skipped 3".
    std::string summary() const;
};

} // namespace storage::host
