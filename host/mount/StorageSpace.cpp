#include "host/mount/StorageSpace.h"

#include "host/mount/ErrnoError.h"
#include "hostapi/storage/provider/Exception.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>
#include <vector>

namespace storage::host {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;
using foundation::storage::provider::ProviderStorageInfo;
using foundation::storage::provider::StorageIRI;

namespace {

constexpr std::uint64_t grant = 64U << 20U;         ///< bytes that may be taken without asking again
constexpr std::uint64_t leftToOthers = 128U << 20U; ///< bytes left to the rest of the machine

ProviderStorageInfo readMemoryInfo() {
    ProviderStorageInfo info{0, 0};
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
    return info;
}

/// The files in which the kernel tells what a group of processes may use and uses.
struct GroupFiles {
    std::string limit;
    std::string use;
    std::string statistics;

    static GroupFiles ofVersion1(const std::string& folder) {
        return {folder + "/memory.limit_in_bytes", folder + "/memory.usage_in_bytes",
                folder + "/memory.stat"};
    }
    static GroupFiles ofVersion2(const std::string& folder) {
        return {folder + "/memory.max", folder + "/memory.current", folder + "/memory.stat"};
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

/// Bytes of cached files, which give way to anything else.
unsigned long long readReclaimable(const std::string& statistics) {
    unsigned long long cached = 0;
    unsigned long long shared = 0;
    std::ifstream file(statistics);
    std::string name;
    unsigned long long bytes = 0;
    while (file >> name >> bytes) {
        if (name == "file" || name == "cache") {
            cached = bytes;
        } else if (name == "shmem") {
            shared = bytes;
        }
    }
    return cached - std::min(cached, shared);
}

/// A group may have less memory than the machine.
void applyMemoryLimits(ProviderStorageInfo& info) {
    for (const GroupFiles& group : groupsOfProcess()) {
        unsigned long long limit = 0;
        unsigned long long used = 0;
        std::ifstream limitFile(group.limit); // no number is in it when there is no limit
        std::ifstream useFile(group.use);
        if (limitFile >> limit && useFile >> used) {
            used -= std::min(used, readReclaimable(group.statistics));
            info.capacity = std::min(info.capacity, limit);
            info.available = std::min(info.available, limit - std::min(limit, used));
        }
    }
}

} // namespace

ProviderStorageInfo StorageSpace::info() const {
    try {
        return provider_.doGetProviderStorageInfo(StorageIRI(u"/"));
    } catch (const Exception& error) {
        if (error.getErrorCode() != ErrorCode::NotOffered) {
            throw;
        }
    }
    ProviderStorageInfo info = readMemoryInfo();
    applyMemoryLimits(info);
    info.available -= std::min<unsigned long long>(info.available, leftToOthers);
    return info;
}

void StorageSpace::require(std::uint64_t bytes) {
    if (bytes == 0) {
        return; // also without memory: emptying a file makes room
    }
    if (!reserve_.isComplete()) {
        throw ErrnoError(ENOSPC);
    }
    if (bytes <= grant &&
        granted_.fetch_sub(static_cast<std::int64_t>(bytes)) >= static_cast<std::int64_t>(bytes)) {
        return;
    }
    const std::uint64_t available = info().available;
    if (bytes > available) {
        granted_ = 0;
        throw ErrnoError(ENOSPC);
    }
    granted_ = static_cast<std::int64_t>(std::min(available - bytes, grant));
}

} // namespace storage::host
