#pragma once

#include <stdexcept>

namespace storage::benchmark {

/// Thrown after a termination signal.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// Turns termination signals into an orderly exit. A signal also interrupts a blocking system call. At most
/// one object per program.
class StopSignal {
public:
    StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    static bool arrived() noexcept;
};

} // namespace storage::benchmark
