#include "host/validate/report/ValidationRecord.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

using Result = CheckOutcome::Result;

const ResultWords& wordsFor(Result result) {
    return *std::find_if(resultWords.begin(), resultWords.end(),
                         [&](const ResultWords& words) { return words.result == result; });
}

ValidationRecord::Totals::Totals(CheckRuns checks) : all(checks.size()) {
    for (const CheckRun& run : checks) {
        ++counts[static_cast<std::size_t>(run.outcome.result)];
    }
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

std::vector<ValidationRecord::CheckRuns> ValidationRecord::groups() const {
    std::vector<CheckRuns> groups;
    for (auto begin = checks.begin(); begin != checks.end();) {
        const auto end = std::find_if(
            begin, checks.end(), [&](const CheckRun& run) { return run.rule.group != begin->rule.group; });
        groups.emplace_back(begin, end);
        begin = end;
    }
    return groups;
}

bool ValidationRecord::succeeded() const {
    return std::all_of(checks.begin(), checks.end(), [](const CheckRun& run) {
        return !run.isPending && (run.outcome.result == Result::Pass || run.outcome.result == Result::Skip);
    });
}

} // namespace storage::host
