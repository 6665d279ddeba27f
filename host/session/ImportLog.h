#pragma once

#include "host/storage/StoragePath.h"

#include <string>
#include <vector>

namespace storage::host {

/// That an entry of the disk was imported, and where its copy is now. A value.
struct ImportRecord {
    std::string diskPath; ///< absolute
    StoragePath path;

    bool operator==(const ImportRecord&) const = default;
};

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
