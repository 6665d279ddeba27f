#pragma once

#include "benchmarks/workload/ListingSummary.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <system_error>

namespace storage::benchmark {

/// Lists a folder of the operating system without "." and "..". Calls visit(descriptor of the folder, entry)
/// for each entry.
/// @throws std::system_error
template <typename Visit>
ListingSummary listFolder(const char* path, Visit visit) {
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(path), ::closedir);
    if (!listing) {
        throw std::system_error(errno, std::generic_category(), "opendir");
    }
    ListingSummary summary;
    while (const dirent* const entry = ::readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            summary.add(entry->d_name, std::strlen(entry->d_name),
                        entry->d_type == DT_DIR ? EntryKind::Folder : EntryKind::File);
            visit(::dirfd(listing.get()), *entry);
        }
    }
    return summary;
}

inline ListingSummary listFolder(const char* path) {
    return listFolder(path, [](int, const dirent&) {});
}

} // namespace storage::benchmark
