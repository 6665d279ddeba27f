#include "benchmarks/system/Machine.h"

#include <ctime>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fstream>
#include <sys/utsname.h>
#include <thread>

namespace storage::benchmark {

namespace {

std::string firstLineOf(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line.empty() ? "unknown" : line;
}

/// The value of a line "name : value" in a file.
std::string valueOf(const std::string& path, const std::string& name) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (line.starts_with(name) && colon != std::string::npos) {
            return line.substr(line.find_first_not_of(" \t", colon + 1));
        }
    }
    return "unknown";
}

utsname systemNames() {
    utsname names{};
    ::uname(&names);
    return names;
}

std::string compiler() {
#ifdef __clang__
    return __VERSION__;
#else
    return "GCC " __VERSION__;
#endif
}

std::string cacheSize(int index) {
    return firstLineOf(fmt::format("/sys/devices/system/cpu/cpu0/cache/index{}/size", index));
}

} // namespace

std::string kernelRelease() {
    const utsname names = systemNames();
    return fmt::format("{} {}", names.sysname, names.release);
}

std::vector<std::pair<std::string, std::string>> describeMachine() {
    return {
        {"date", fmt::format("{:%Y-%m-%d %H:%M} UTC", fmt::gmtime(std::time(nullptr)))},
        {"processor", valueOf("/proc/cpuinfo", "model name")},
        {"processor family, model",
         valueOf("/proc/cpuinfo", "cpu family") + ", " + valueOf("/proc/cpuinfo", "model\t")},
        {"processors", std::to_string(std::thread::hardware_concurrency())},
        {"level 2 cache", cacheSize(2)},
        {"level 3 cache", cacheSize(3)},
        {"memory", valueOf("/proc/meminfo", "MemTotal")},
        {"kernel", kernelRelease() + ' ' + systemNames().machine},
        {"transparent huge pages", firstLineOf("/sys/kernel/mm/transparent_hugepage/enabled")},
        {"transparent huge pages of tmpfs", firstLineOf("/sys/kernel/mm/transparent_hugepage/shmem_enabled")},
        {"compiler", compiler()},
    };
}

} // namespace storage::benchmark
