#pragma once

namespace storage::benchmark {

/// Lets the program end in order when it is asked to by a signal, which also ends a blocking system call. One
/// object in a program.
class StopSignal {
public:
    StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    static bool arrived() noexcept;
};

} // namespace storage::benchmark
