#pragma once

#include <cstdint>

namespace storage::stress {

/// The memory of this process that is in the machine's own at the moment, in bytes, and the most that ever
/// was since the last mark. What was freed before the mark is first given back to the system.
///
/// Thread safety: for one thread, while no other allocates.
class ProcessMemory {
public:
    /// Sets the mark.
    /// @throws std::runtime_error when the system tells nothing of the process's memory
    ProcessMemory();

    std::int64_t growth() const;
    std::int64_t peakGrowth() const;

private:
    std::int64_t atMark_;
};

/// How much more memory this process could use, in bytes, as the machine and its control group let it.
std::int64_t availableMemory();

} // namespace storage::stress
