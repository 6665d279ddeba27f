#include "host/validate/CheckProgress.h"

#include <fmt/format.h>

namespace storage::host {

CheckProgress::~CheckProgress() {
    try {
        console_.clearProgress();
    } catch (...) { // the terminal is gone
    }
}

void CheckProgress::begin(const Check& check) {
    ++begun_;
    if (console_.showsProgress()) {
        console_.drawProgress(fmt::format("{} of {}: {} {}", begun_, all_, check.number, check.name));
    }
}

} // namespace storage::host
