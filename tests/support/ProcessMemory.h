#pragma once

#include <cstdint>

namespace storage::stress {

/// Growth of the resident memory of this process since the construction, in bytes: current and peak. The
/// constructor first returns freed memory to the system.
///
/// Not thread-safe. No other thread may allocate during the measurement.
class ProcessMemory {
public:
    /// @throws std::runtime_error when the system does not report the process's memory
    ProcessMemory();

    std::int64_t growth() const;
    std::int64_t peakGrowth() const;

private:
    std::int64_t atMark_;
};

/// The memory that this process can still allocate, in bytes, limited by the machine and the control group.
std::int64_t availableMemory();

} // namespace storage::stress
