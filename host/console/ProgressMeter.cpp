#include "host/console/ProgressMeter.h"

#include "host/support/Counted.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::chrono::milliseconds redrawInterval(100);

std::string scaled(double bytes) {
    constexpr const char* units[] = {"B", "KiB", "MiB", "GiB"};
    std::size_t unit = 0;
    for (; bytes >= 1024 && unit + 1 < std::size(units); ++unit) {
        bytes /= 1024;
    }
    return fmt::format("{:.{}f} {}", bytes, unit == 0 ? 0 : 1, units[unit]);
}

} // namespace

ProgressMeter::ProgressMeter(Console& console) : console_(console) {}

ProgressMeter::~ProgressMeter() {
    try {
        console_.clearProgress();
    } catch (...) { // a line left on a terminal that is gone disturbs nobody
    }
}

void ProgressMeter::countEntry() {
    ++entries_;
    redraw();
}

void ProgressMeter::countBytes(unsigned long long bytes) {
    bytes_ += bytes;
    redraw();
}

void ProgressMeter::redraw() {
    if (!console_.showsProgress()) {
        return;
    }
    const auto now = Clock::now();
    if (now - lastDrawn_ < redrawInterval) {
        return;
    }
    lastDrawn_ = now;
    const auto transferred = static_cast<double>(bytes_);
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    console_.drawProgress(fmt::format("{}, {}, {}/s", counted(entries_, "entry", "entries"),
                                      scaled(transferred), scaled(transferred / elapsed)));
}

} // namespace storage::host
