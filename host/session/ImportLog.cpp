#include "host/session/ImportLog.h"

#include <algorithm>
#include <utility>

namespace storage::host {

void ImportLog::add(ImportRecord record) {
    if (std::find(records_.begin(), records_.end(), record) == records_.end()) {
        records_.push_back(std::move(record));
    }
}

void ImportLog::moved(const StoragePath& from, const StoragePath& to) {
    for (ImportRecord& record : records_) {
        if (from.contains(record.path)) {
            record.path = record.path.rebased(from, to);
        }
    }
}

bool ImportLog::hasImportAt(const StoragePath& path) const {
    return std::any_of(records_.begin(), records_.end(),
                       [&](const ImportRecord& record) { return record.path == path; });
}

} // namespace storage::host
