#include "host/mount/StorageSpace.h"

#include "host/mount/Refused.h"
#include "hostapi/storage/provider/Exception.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>

namespace storage::host {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;
using foundation::storage::provider::ProviderStorageInfo;
using foundation::storage::provider::StorageIRI;

namespace {

constexpr std::uint64_t grant = 64U << 20U;    ///< bytes that may be taken without asking again
constexpr std::uint64_t reserve = 128U << 20U; ///< bytes left to the rest of the machine

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

/// A container may have less memory than the machine. Nothing is subtracted where no limit is set.
void applyMemoryLimit(ProviderStorageInfo& info) {
    unsigned long long limit = 0;
    unsigned long long used = 0;
    std::ifstream limitFile("/sys/fs/cgroup/memory.max"); // has no number in it when there is no limit
    std::ifstream usedFile("/sys/fs/cgroup/memory.current");
    if (limitFile >> limit && usedFile >> used) {
        info.capacity = std::min(info.capacity, limit);
        info.available = std::min(info.available, limit - std::min(limit, used));
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
    applyMemoryLimit(info);
    info.available -= std::min<unsigned long long>(info.available, reserve);
    return info;
}

void StorageSpace::require(std::uint64_t bytes) {
    if (bytes <= grant &&
        granted_.fetch_sub(static_cast<std::int64_t>(bytes)) >= static_cast<std::int64_t>(bytes)) {
        return;
    }
    const std::uint64_t available = info().available;
    if (bytes > available) {
        granted_ = 0;
        throw Refused(ENOSPC);
    }
    granted_ = static_cast<std::int64_t>(std::min(available - bytes, grant));
}

} // namespace storage::host
