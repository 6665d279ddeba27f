#pragma once

#include "benchmarks/workload/ListingSummary.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <system_error>

namespace storage::benchmark {

/// Lists a folder of the operating system: calls visit(descriptor of the folder, entry) for each entry except
/// "." and "..".
/// @throws std::system_error
template <typename Visit>
void visitFolder(const char* path, Visit visit) {
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(path), ::closedir);
    if (!listing) {
        throw std::system_error(errno, std::generic_category(), "opendir");
    }
    while (const dirent* const entry = ::readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            visit(::dirfd(listing.get()), *entry);
        }
    }
}

/// Adds an entry of a listing to its summary.
inline void addEntry(ListingSummary& summary, const dirent& entry) {
    summary.add(entry.d_name, std::strlen(entry.d_name),
                entry.d_type == DT_DIR ? EntryKind::Folder : EntryKind::File);
}

/// Lists a folder and returns its summary.
/// @throws std::system_error
inline ListingSummary listFolder(const char* path) {
    ListingSummary summary;
    visitFolder(path, [&](int, const dirent& entry) { addEntry(summary, entry); });
    return summary;
}

} // namespace storage::benchmark
