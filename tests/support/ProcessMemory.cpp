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

/// Reads the value of a name from a file in /proc with sizes in KiB.
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

/// Reads a file that contains one number; nothing if the file is missing or contains none.
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
    std::ofstream("/proc/self/clear_refs") << 5; // resets the peak
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
