#pragma once

#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <string>

namespace storage::host {

/// The memory that this process may use: the machine's, or the limit of the control group that leaves the
/// least. A value.
struct MachineMemory {
    /// Where the kernel reports memory and control groups.
    struct Sources {
        std::string processes = "/proc";
        std::string groups = "/sys/fs/cgroup";
    };

    provider::ProviderStorageInfo info; ///< bytes
    unsigned long long slab = 0; ///< bytes of `info.available` that the kernel uses for inodes and names
    std::string limitedBy;       ///< in words, with the path of a control group
    bool isOfGroup = false;      ///< a control group allows less than the machine has
    bool isShared = false;       ///< other processes use the memory of that group too

    /// Reads the current values. Page cache that the kernel can reclaim counts as available.
    static MachineMemory read(const Sources& sources);
    static MachineMemory read() { return read(Sources()); }
};

} // namespace storage::host
