#pragma once

#include "host/session/ImportRecord.h"

#include <vector>

namespace storage::host {

/// The imports of a session, for checking them later. No record stands in it twice.
/// Thread safety: one object is for one thread.
class ImportLog {
public:
    void add(ImportRecord record);

    /// Follows the entry at `from`, and all below it, to `to`.
    void moved(const StoragePath& from, const StoragePath& to);

    const std::vector<ImportRecord>& records() const noexcept { return records_; }

    /// Whether some import put its copy exactly at `path`.
    bool hasImportAt(const StoragePath& path) const;

private:
    std::vector<ImportRecord> records_;
};

} // namespace storage::host
