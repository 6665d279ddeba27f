#include "tests/host/mount/FakeMemory.h"

FakeMemory::FakeMemory() {
    folder_.write("proc/meminfo",
                  "MemTotal:       16777216 kB\nMemFree:         1048576 kB\nMemAvailable:   12582912 kB\n");
    join("0::/\n");
}

void FakeMemory::makeGroup(const std::string& path, std::uint64_t limit, std::uint64_t used,
                           const std::string& statistics) const {
    const std::string group = "groups/memory/" + path;
    folder_.write(group + "/memory.limit_in_bytes", std::to_string(limit) + '\n');
    folder_.write(group + "/memory.usage_in_bytes", std::to_string(used) + '\n');
    folder_.write(group + "/memory.stat", statistics);
    setProcesses("memory/" + path, "1\n");
}

void FakeMemory::makeUnifiedGroup(const std::string& path, const std::string& limit, std::uint64_t used,
                                  const std::string& statistics) const {
    const std::string group = "groups/" + path;
    folder_.write(group + "/memory.max", limit + '\n');
    folder_.write(group + "/memory.current", std::to_string(used) + '\n');
    folder_.write(group + "/memory.stat", statistics);
    setProcesses(path, "1\n");
}
