#pragma once

#include <array>
#include <csignal>
#include <exception>

namespace storage::host {

/// Unwinds a command that the user asked to stop. Only `runReported` and the shell handle it; everything else cleans up and
/// lets it pass.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Turns the signals that ask the program to stop into a flag that commands look at between two steps, so
/// that whatever they were making is tidied up by ordinary unwinding.
///
/// Owns the handlers of SIGINT, SIGTERM and SIGHUP from construction to destruction; a signal that was
/// ignored before stays ignored. At most one object may exist at a time.
///
/// Thread safety: for the main thread.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// @throws Interrupted when a signal has arrived since the last `clear`
    static void check();

    /// The signal that has arrived since the last `clear`, or 0.
    static int pending() noexcept;

    static void clear() noexcept;

private:
    static constexpr std::array<int, 3> signals_{SIGINT, SIGTERM, SIGHUP};
    std::array<struct sigaction, 3> previous_{};
};

} // namespace storage::host
