#include "tests/support/ProcessMemory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <malloc.h>
#include <optional>
#include <stdexcept>
#include <string>

namespace storage::stress {

namespace {

constexpr std::int64_t kibibyte = 1024;

/// The number behind a name in one of the system's tables of sizes in KiB.
std::int64_t sizeIn(const char* table, const std::string& name) {
    std::ifstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name)) {
            return std::stoll(line.substr(name.size())) * kibibyte;
        }
    }
    throw std::runtime_error(std::string(table) + " has no line " + name);
}

std::int64_t residentMemory() {
    return sizeIn("/proc/self/status", "VmRSS:");
}

/// The number that is the whole content of a file; nothing when there is no such file or no number in it.
std::optional<std::int64_t> numberIn(const char* path) {
    std::ifstream file(path);
    std::int64_t number = 0;
    return file >> number ? std::optional(number) : std::nullopt;
}

std::int64_t leftInControlGroup(const char* limitPath, const char* usagePath) {
    const auto limit = numberIn(limitPath);
    const auto usage = numberIn(usagePath);
    return limit && usage ? *limit - *usage : std::numeric_limits<std::int64_t>::max();
}

} // namespace

ProcessMemory::ProcessMemory() {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5; // makes the peak start anew
    atMark_ = residentMemory();
}

std::int64_t ProcessMemory::growth() const {
    return residentMemory() - atMark_;
}

std::int64_t ProcessMemory::peakGrowth() const {
    return sizeIn("/proc/self/status", "VmHWM:") - atMark_;
}

std::int64_t availableMemory() {
    return std::min({sizeIn("/proc/meminfo", "MemAvailable:"),
                     leftInControlGroup("/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory.current"),
                     leftInControlGroup("/sys/fs/cgroup/memory/memory.limit_in_bytes",
                                        "/sys/fs/cgroup/memory/memory.usage_in_bytes")});
}

} // namespace storage::stress
