#pragma once

#include <array>
#include <csignal>
#include <exception>

namespace storage::host {

/// Unwinds a command that the user interrupted. Only `runReported`, the shell and the end of a mount handle
/// it. All other code cleans up and lets it propagate.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Turns termination signals into a flag that commands check between two steps, so that cleanup is ordinary
/// stack unwinding.
///
/// Owns the handlers of SIGINT, SIGTERM and SIGHUP during its lifetime. A signal that was ignored before
/// stays ignored. At most one object may exist at a time.
///
/// Only the main thread may use it.
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
