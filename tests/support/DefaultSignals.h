#pragma once

#include <array>
#include <csignal>

/// Lets the signals that a user stops a program with do what they do by default, whatever the caller of the
/// tests made of them: in the background of a script they are ignored.
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
