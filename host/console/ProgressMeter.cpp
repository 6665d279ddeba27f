#include "host/console/ProgressMeter.h"

#include "host/support/Counted.h"
#include "host/support/HumanSize.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::chrono::milliseconds redrawInterval(100);

} // namespace

ProgressMeter::ProgressMeter(Console& console, Display display) : console_(console), display_(display) {}

ProgressMeter::~ProgressMeter() {
    try {
        console_.clearProgress();
    } catch (...) { // the terminal is gone
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
    if (display_ == Display::Hidden || !console_.showsProgress()) {
        return;
    }
    const auto now = Clock::now();
    if (now - lastDrawn_ < redrawInterval) {
        return;
    }
    lastDrawn_ = now;
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    const auto rate = static_cast<unsigned long long>(static_cast<double>(bytes_) / elapsed);
    console_.drawProgress(fmt::format("{}, {}B, {}B/s", counted(entries_, "entry", "entries"),
                                      humanSize(bytes_), humanSize(rate)));
}

} // namespace storage::host
