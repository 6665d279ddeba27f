#include "host/validate/report/ValidationRecord.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>
#include <numeric>

namespace storage::host {

using Result = CheckOutcome::Result;

const ResultWords& wordsFor(Result result) {
    return *std::find_if(resultWords.begin(), resultWords.end(),
                         [&](const ResultWords& words) { return words.result == result; });
}

std::size_t ValidationRecord::Totals::all() const {
    return std::accumulate(counts.begin(), counts.end(), std::size_t{0});
}

bool ValidationRecord::Totals::allKept() const {
    return of(Result::Pass) + of(Result::Skip) == all();
}

std::string ValidationRecord::Totals::summary() const {
    std::string text;
    for (const ResultWords& words : resultWords) {
        if (of(words.result) > 0) {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", of(words.result), words.counted);
        }
    }
    return text;
}

void ValidationRecord::Totals::add(const Totals& other) {
    std::transform(counts.begin(), counts.end(), other.counts.begin(), counts.begin(), std::plus());
}

ValidationRecord::Totals ValidationRecord::Group::totals() const {
    Totals totals;
    for (const CheckRun& run : checks) {
        ++totals.counts[static_cast<std::size_t>(run.outcome.result)];
    }
    return totals;
}

ValidationRecord::Totals ValidationRecord::totals() const {
    Totals totals;
    for (const Group& group : groups) {
        totals.add(group.totals());
    }
    return totals;
}

std::vector<std::string> ValidationRecord::numbersOf(CheckRun::State state) const {
    std::vector<std::string> numbers;
    for (const Group& group : groups) {
        for (const CheckRun& run : group.checks) {
            if (run.state == state) {
                numbers.emplace_back(run.check->number);
            }
        }
    }
    return numbers;
}

} // namespace storage::host
