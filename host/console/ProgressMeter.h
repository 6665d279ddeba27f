#pragma once

#include "host/console/Console.h"

#include <chrono>

namespace storage::host {

/// Shows the progress of a transfer: entries, bytes, rate. Draws only on a terminal or for the console's
/// observer.
///
/// Borrows the console. The destructor clears the progress line. Not thread-safe.
class ProgressMeter {
public:
    enum class Display { Shown, Hidden };

    explicit ProgressMeter(Console& console, Display display = Display::Shown);
    ~ProgressMeter();
    ProgressMeter(const ProgressMeter&) = delete;
    ProgressMeter& operator=(const ProgressMeter&) = delete;

    void countEntry();
    void countBytes(unsigned long long bytes);

private:
    using Clock = std::chrono::steady_clock;

    void redraw();

    Console& console_;
    const Display display_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point lastDrawn_ = start_;
    unsigned long long entries_ = 0;
    unsigned long long bytes_ = 0;
};

} // namespace storage::host
