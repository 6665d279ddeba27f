#pragma once

#include "host/mount/MachineMemory.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>

/// Files like those in which the kernel says what memory there is: a machine of 16 GiB, of which 12 GiB are available. Control
/// groups have one process each.
class FakeMemory {
public:
    FakeMemory();

    storage::host::MachineMemory::Sources sources() const { return {folder_ / "proc", folder_ / "groups"}; }
    storage::host::MachineMemory read() const { return storage::host::MachineMemory::read(sources()); }

    /// @param lines  of /proc/self/cgroup
    void join(const std::string& lines) const { folder_.write("proc/self/cgroup", lines); }

    /// Makes a control group of the first version. @param path  from the root of all groups, without a slash before it
    void makeGroup(const std::string& path, std::uint64_t limit, std::uint64_t used,
                   const std::string& statistics = "") const;

    /// Makes a control group of the second version. @param limit  bytes, or "max"
    void makeUnifiedGroup(const std::string& path, const std::string& limit, std::uint64_t used,
                          const std::string& statistics = "") const;

    /// @param path  as for `makeGroup`, of either version
    void setProcesses(const std::string& path, const std::string& processes) const {
        folder_.write("groups/" + path + "/cgroup.procs", processes);
    }

private:
    TemporaryFolder folder_;
};
