#include "host/mount/MachineMemory.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <vector>

namespace storage::host {

using provider::ProviderStorageInfo;

namespace {

MachineMemory readMemoryInfo(const std::string& processes) {
    MachineMemory memory{.info = {0, 0}, .limitedBy = "the memory of the machine"};
    ProviderStorageInfo& info = memory.info;
    std::ifstream file(processes + "/meminfo");
    std::string name;
    std::string unit;
    unsigned long long kibibytes = 0;
    while (file >> name >> kibibytes && std::getline(file, unit)) {
        if (name == "MemTotal:") {
            info.capacity = kibibytes * 1024;
        } else if (name == "MemAvailable:") {
            info.available = kibibytes * 1024;
        }
    }
    return memory;
}

/// The files in which the kernel reports the memory limit and use of a control group.
struct GroupFiles {
    std::string folder;
    std::string limit;
    std::string use;
    std::string statistics;
    bool isInnermost; ///< the process is a direct member of the group

    static GroupFiles ofVersion1(const std::string& folder, bool isInnermost) {
        return {folder, folder + "/memory.limit_in_bytes", folder + "/memory.usage_in_bytes",
                folder + "/memory.stat", isInnermost};
    }
    static GroupFiles ofVersion2(const std::string& folder, bool isInnermost) {
        return {folder, folder + "/memory.max", folder + "/memory.current", folder + "/memory.stat",
                isInnermost};
    }
};

/// The control groups of this process, from the innermost one to the root. In a container the root is the
/// container's own group, and the other paths may not exist.
std::vector<GroupFiles> groupsOfProcess(const MachineMemory::Sources& sources) {
    std::vector<GroupFiles> files;
    std::ifstream groups(sources.processes + "/self/cgroup");
    for (std::string line; std::getline(groups, line);) { // number:controllers:path
        const std::size_t controllers = line.find(':') + 1;
        const std::size_t path = line.find(':', controllers) + 1;
        const std::string kind = line.substr(controllers, path - controllers);
        if (kind != ":" && kind != "memory:") {
            continue;
        }
        std::string group = line.substr(path);
        for (bool isInnermost = true;; isInnermost = false) {
            group.erase(group.find_last_not_of('/') + 1);
            files.push_back(kind == ":"
                                ? GroupFiles::ofVersion2(sources.groups + group, isInnermost)
                                : GroupFiles::ofVersion1(sources.groups + "/memory" + group, isInnermost));
            if (group.empty()) {
                break;
            }
            group.erase(group.rfind('/'));
        }
    }
    return files;
}

/// Whether other processes use a group's memory. Assumed for groups that contain other groups, without
/// counting processes.
bool isShared(const GroupFiles& group) {
    std::ifstream processes(group.folder + "/cgroup.procs");
    std::string first;
    std::string second;
    return !group.isInnermost || (processes >> first >> second);
}

/// Bytes that the kernel can reclaim before it refuses memory. A value.
struct Reclaimable {
    unsigned long long pages; ///< of files, neither dirty nor mapped
    unsigned long long slab;  ///< 0 for version 1, which does not report it
};

Reclaimable readReclaimable(const std::string& statistics) {
    std::map<std::string, unsigned long long> bytesOf;
    std::ifstream file(statistics);
    std::string name;
    for (unsigned long long bytes = 0; file >> name >> bytes;) {
        bytesOf[name] = bytes;
    }
    const auto either = [&](const char* version1, const char* version2) {
        return std::max(bytesOf[version1], bytesOf[version2]);
    };
    const auto kept = either("total_shmem", "shmem") + either("total_mapped_file", "file_mapped") +
                      either("total_dirty", "file_dirty") + either("total_writeback", "file_writeback");
    const auto cached = either("total_cache", "file");
    return {cached - std::min(cached, kept), bytesOf["slab_reclaimable"]};
}

/// Applies the limits of control groups, which may be below the memory of the machine.
void applyMemoryLimits(MachineMemory& memory, const MachineMemory::Sources& sources) {
    ProviderStorageInfo& info = memory.info;
    const auto ofMachine = info.capacity;
    for (const GroupFiles& group : groupsOfProcess(sources)) {
        unsigned long long limit = 0;
        unsigned long long used = 0;
        std::ifstream limitFile(group.limit); // not a number if there is no limit
        std::ifstream useFile(group.use);
        if (limitFile >> limit && limit < ofMachine && useFile >> used) {
            const Reclaimable reclaimable = readReclaimable(group.statistics);
            used -= std::min(used, reclaimable.pages + reclaimable.slab);
            const auto available = limit - std::min(limit, used);
            if (available < info.available) {
                memory.limitedBy = "the memory limit of the control group " + group.folder;
                memory.slab = std::min(available, reclaimable.slab);
            }
            memory.isOfGroup = true;
            memory.isShared = memory.isShared || isShared(group);
            info.capacity = std::min(info.capacity, limit);
            info.available = std::min(info.available, available);
        }
    }
}

} // namespace

MachineMemory MachineMemory::read(const Sources& sources) {
    MachineMemory memory = readMemoryInfo(sources.processes);
    applyMemoryLimits(memory, sources);
    return memory;
}

} // namespace storage::host
