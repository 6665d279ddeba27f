#include "host/mount/MachineMemory.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <vector>

namespace storage::host {

using foundation::storage::provider::ProviderStorageInfo;

namespace {

MachineMemory readMemoryInfo() {
    MachineMemory memory{{0, 0}, "the memory of the machine"};
    ProviderStorageInfo& info = memory.info;
    std::ifstream file("/proc/meminfo");
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

/// The files in which the kernel tells what a group of processes may use and uses.
struct GroupFiles {
    std::string folder;
    std::string limit;
    std::string use;
    std::string statistics;

    static GroupFiles ofVersion1(const std::string& folder) {
        return {folder, folder + "/memory.limit_in_bytes", folder + "/memory.usage_in_bytes",
                folder + "/memory.stat"};
    }
    static GroupFiles ofVersion2(const std::string& folder) {
        return {folder, folder + "/memory.max", folder + "/memory.current", folder + "/memory.stat"};
    }
};

/// Of the groups that this process belongs to, and of a container's own.
std::vector<GroupFiles> groupsOfProcess() {
    std::vector<GroupFiles> files{GroupFiles::ofVersion2("/sys/fs/cgroup")};
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) { // number:controllers:path
        const std::size_t controllers = line.find(':') + 1;
        const std::size_t path = line.find(':', controllers) + 1;
        const std::string kind = line.substr(controllers, path - controllers);
        if (kind == ":") {
            files.push_back(GroupFiles::ofVersion2("/sys/fs/cgroup" + line.substr(path)));
        } else if (kind == "memory:") {
            files.push_back(GroupFiles::ofVersion1("/sys/fs/cgroup/memory" + line.substr(path)));
        }
    }
    return files;
}

/// Bytes that the kernel frees before it refuses memory: file pages that are neither dirty nor mapped, and unused kernel
/// objects.
unsigned long long readReclaimable(const std::string& statistics) {
    std::map<std::string, unsigned long long> bytesOf;
    std::ifstream file(statistics);
    std::string name;
    for (unsigned long long bytes = 0; file >> name >> bytes;) {
        bytesOf[name] = bytes;
    }
    const auto either = [&](const char* version1, const char* version2) {
        return std::max(bytesOf[version1], bytesOf[version2]);
    };
    const auto kept = bytesOf["shmem"] + either("mapped_file", "file_mapped") +
                      either("dirty", "file_dirty") + either("writeback", "file_writeback");
    const auto cached = either("cache", "file");
    return cached - std::min(cached, kept) + bytesOf["slab_reclaimable"];
}

/// A group may have less memory than the machine.
void applyMemoryLimits(MachineMemory& memory) {
    ProviderStorageInfo& info = memory.info;
    for (const GroupFiles& group : groupsOfProcess()) {
        unsigned long long limit = 0;
        unsigned long long used = 0;
        std::ifstream limitFile(group.limit); // no number is in it when there is no limit
        std::ifstream useFile(group.use);
        if (limitFile >> limit && useFile >> used) {
            used -= std::min(used, readReclaimable(group.statistics));
            const auto available = limit - std::min(limit, used);
            if (available < info.available) {
                memory.limitedBy = "the memory limit of the control group " + group.folder;
            }
            info.capacity = std::min(info.capacity, limit);
            info.available = std::min(info.available, available);
        }
    }
}

} // namespace

MachineMemory MachineMemory::read() {
    MachineMemory memory = readMemoryInfo();
    applyMemoryLimits(memory);
    return memory;
}

} // namespace storage::host
