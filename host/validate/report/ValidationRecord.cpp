#include "host/validate/report/ValidationRecord.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

void ValidationRecord::Totals::count(CheckOutcome::Result result) {
    switch (result) {
    case CheckOutcome::Result::Pass:
        ++passed;
        break;
    case CheckOutcome::Result::Fail:
        ++failed;
        break;
    case CheckOutcome::Result::Skip:
        ++skipped;
        break;
    case CheckOutcome::Result::Crash:
        ++crashed;
        break;
    case CheckOutcome::Result::Hang:
        ++hung;
        break;
    }
}

ValidationRecord::Totals& ValidationRecord::Totals::operator+=(const Totals& other) {
    passed += other.passed;
    failed += other.failed;
    crashed += other.crashed;
    hung += other.hung;
    skipped += other.skipped;
    return *this;
}

std::string ValidationRecord::Totals::summary() const {
    std::string text;
    const auto add = [&](std::size_t number, const char* what) {
        if (number > 0) {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", number, what);
        }
    };
    add(passed, "passed");
    add(failed, "failed");
    add(crashed, "crashed");
    add(hung, "hung");
    add(skipped, "skipped");
    return text;
}

ValidationRecord::Totals ValidationRecord::Group::totals() const {
    Totals totals;
    for (const CheckRun& run : checks) {
        totals.count(run.outcome.result);
    }
    return totals;
}

ValidationRecord::Totals ValidationRecord::totals() const {
    Totals totals;
    for (const Group& group : groups) {
        totals += group.totals();
    }
    return totals;
}

std::size_t ValidationRecord::notReached() const {
    std::size_t number = 0;
    for (const Group& group : groups) {
        number += static_cast<std::size_t>(
            std::count_if(group.checks.begin(), group.checks.end(),
                          [](const CheckRun& run) { return run.state == CheckRun::State::NotReached; }));
    }
    return number;
}

std::string ValidationRecord::excepted() const {
    std::string numbers;
    for (const Group& group : groups) {
        for (const CheckRun& run : group.checks) {
            if (run.state == CheckRun::State::Excepted) {
                numbers += (numbers.empty() ? "" : ", ") + std::string(run.check->number);
            }
        }
    }
    return numbers;
}

} // namespace storage::host
