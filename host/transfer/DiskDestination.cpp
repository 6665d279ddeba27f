#include "host/transfer/DiskDestination.h"

#include "host/disk/DiskEntry.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/DiskPath.h"
#include "host/support/CommandError.h"

#include <filesystem>

namespace storage::host {

bool isDiskFolder(const std::string& path) {
    try {
        return DiskEntry::at(path, DiskEntry::Links::Follow).kind == DiskEntry::Kind::Folder;
    } catch (const CommandError&) {
        return false; // writing there reports the error
    }
}

DiskDestination::DiskDestination(const std::string& operand, std::size_t sources)
    : path_(diskOperand(operand)), isFolder_(isDiskFolder(path_)) {
    if (sources > 1 && !isFolder_) {
        throw CommandError(path_, "not a folder");
    }
    const std::string parent = diskParent(path_);
    std::error_code error; // of an unreadable folder: writing there reports it
    if (!std::filesystem::exists(parent, error) && !error) {
        throw CommandError(path_, "folder " + parent + " does not exist");
    }
}

std::string DiskDestination::of(const std::string& name) {
    std::string target = isFolder_ && !name.empty() ? diskChild(path_, name) : path_;
    if (!taken_.insert(target).second) {
        throw CommandError(target, "another source has the same name");
    }
    return target;
}

RootAttributes DiskDestination::attributesFor(const std::string& name) const {
    return isFolder_ && name.empty() ? RootAttributes::Untouched : RootAttributes::FromSource;
}

} // namespace storage::host
