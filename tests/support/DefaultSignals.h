#pragma once

#include <array>
#include <csignal>

/// Restores the default action of termination signals for the lifetime of the object. A script that runs the
/// tests in the background ignores these signals, and child processes inherit that.
class DefaultSignals {
public:
    DefaultSignals() {
        for (std::size_t i = 0; i < signals_.size(); ++i) {
            previous_[i] = std::signal(signals_[i], SIG_DFL);
        }
    }
    ~DefaultSignals() {
        for (std::size_t i = 0; i < signals_.size(); ++i) {
            std::signal(signals_[i], previous_[i]);
        }
    }
    DefaultSignals(const DefaultSignals&) = delete;
    DefaultSignals& operator=(const DefaultSignals&) = delete;

private:
    using Handler = void (*)(int);

    static constexpr std::array<int, 3> signals_{SIGINT, SIGTERM, SIGHUP};
    std::array<Handler, 3> previous_{};
};
