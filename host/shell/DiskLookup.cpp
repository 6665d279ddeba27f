#include "host/shell/DiskLookup.h"

#include "host/disk/DiskFolder.h"
#include "host/support/CommandError.h"

namespace storage::host {

std::vector<std::string> DiskLookup::names(const std::string& folder, Wanted wanted) const {
    std::vector<std::string> result;
    try {
        result = listDiskFolder(folder.empty() ? "." : folder, DiskEntry::Links::Follow);
    } catch (const CommandError&) {
        return {};
    }
    if (wanted == Wanted::Folders) {
        std::erase_if(result, [&](const std::string& name) { return !exists(folder + name, wanted); });
    }
    return result;
}

bool DiskLookup::exists(const std::string& path, Wanted wanted) const {
    const bool isAnyWanted = wanted == Wanted::All; // includes dangling links
    try {
        const auto links = isAnyWanted ? DiskEntry::Links::Inspect : DiskEntry::Links::Follow;
        const DiskEntry entry = DiskEntry::at(path, links);
        return isAnyWanted || entry.kind == DiskEntry::Kind::Folder;
    } catch (const CommandError&) {
        return false;
    }
}

} // namespace storage::host
