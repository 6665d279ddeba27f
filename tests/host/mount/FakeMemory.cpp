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

void FakeMemory::setHeap(std::uint64_t resident) const {
    folder_.write("proc/self/smaps",
                  "55f0a0000000-55f0a0400000 r--p 00000000 08:01 1234   /usr/bin/qzstorage\n"
                  "Size:               4096 kB\nRss:                1000 kB\n"
                  "55f0b0000000-55f0f0000000 rw-p 00000000 00:00 0      [heap]\n"
                  "Size:            1048576 kB\nKernelPageSize:        4 kB\nRss:            " +
                      std::to_string(resident / 1024) +
                      " kB\n"
                      "7f0000000000-7f0000400000 rw-p 00000000 00:00 0\n"
                      "Size:               4096 kB\nRss:                2000 kB\n");
}
