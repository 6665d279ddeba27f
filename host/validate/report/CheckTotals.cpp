#include "host/validate/report/CheckTotals.h"

#include <fmt/format.h>

namespace storage::host {

void CheckTotals::count(CheckResult result) {
    switch (result) {
    case CheckResult::Pass:
        ++passed;
        break;
    case CheckResult::Fail:
        ++failed;
        break;
    case CheckResult::Skip:
        ++skipped;
        break;
    case CheckResult::Crash:
        ++crashed;
        break;
    }
}

CheckTotals& CheckTotals::operator+=(const CheckTotals& other) {
    passed += other.passed;
    failed += other.failed;
    crashed += other.crashed;
    skipped += other.skipped;
    return *this;
}

std::string CheckTotals::summary() const {
    std::string text;
    const auto add = [&](std::size_t number, const char* what) {
        if (number > 0) {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", number, what);
        }
    };
    add(passed, "passed");
    add(failed, "failed");
    add(crashed, "crashed");
    add(skipped, "skipped");
    return text;
}

} // namespace storage::host
