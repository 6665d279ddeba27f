#pragma once

#include <cstdint>

namespace storage::stress {

/// Growth of the resident memory of this process since the mark, in bytes: current and peak. Setting the mark
/// first returns freed memory to the system.
///
/// Not thread-safe. No other thread may allocate meanwhile.
class ProcessMemory {
public:
    /// Sets the mark.
    /// @throws std::runtime_error when the system does not report the process's memory
    ProcessMemory();

    std::int64_t growth() const;
    std::int64_t peakGrowth() const;

private:
    std::int64_t atMark_;
};

/// The memory that this process can still allocate, in bytes: what the machine and the control group have
/// left.
std::int64_t availableMemory();

} // namespace storage::stress
