#pragma once

#include <stdexcept>

namespace storage::benchmark {

/// Thrown after a signal has asked the program to stop.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

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
