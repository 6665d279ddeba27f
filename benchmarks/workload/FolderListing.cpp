#include "benchmarks/workload/FolderListing.h"

namespace storage::benchmark {

void addEntry(ListingSummary& summary, const dirent& entry) {
    summary.add(entry.d_name, std::strlen(entry.d_name),
                entry.d_type == DT_DIR ? EntryKind::Folder : EntryKind::File);
}

ListingSummary listFolder(const char* path) {
    ListingSummary summary;
    visitFolder(path, [&](int, const dirent& entry) { addEntry(summary, entry); });
    return summary;
}

} // namespace storage::benchmark
