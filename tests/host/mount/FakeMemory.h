#pragma once

#include "host/mount/MachineMemory.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>

/// Fakes the memory files of /proc and of control groups: a machine of 16 GiB with 12 GiB available. Each
/// control group has one process.
class FakeMemory {
public:
    FakeMemory();

    storage::host::MachineMemory::Sources sources() const { return {folder_ / "proc", folder_ / "groups"}; }
    storage::host::MachineMemory read() const { return storage::host::MachineMemory::read(sources()); }

    /// @param lines  of /proc/self/cgroup
    void join(const std::string& lines) const { folder_.write("proc/self/cgroup", lines); }

    /// Creates a control group of version 1.
    /// @param path  from the root of all groups, without a leading slash
    void makeGroup(const std::string& path, std::uint64_t limit, std::uint64_t used,
                   const std::string& statistics = "") const;

    /// Creates a control group of version 2.
    /// @param limit  bytes, or "max"
    void makeUnifiedGroup(const std::string& path, const std::string& limit, std::uint64_t used,
                          const std::string& statistics = "") const;

    /// @param path  as for `makeGroup`, of either version
    void setProcesses(const std::string& path, const std::string& processes) const {
        folder_.write("groups/" + path + "/cgroup.procs", processes);
    }

    /// @param resident  bytes of physical memory that the heap of this process has
    void setHeap(std::uint64_t resident) const;

private:
    TemporaryFolder folder_;
};
