#include "host/validate/report/ValidationText.h"

#include "host/support/Counted.h"
#include "host/support/Utf.h"
#include "host/validate/rules/ProfileName.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

const char* resultText(CheckResult result) {
    switch (result) {
    case CheckResult::Pass:
        return "passed";
    case CheckResult::Fail:
        return "FAILED";
    case CheckResult::Skip:
        return "skipped";
    case CheckResult::Crash:
        return "CRASHED";
    }
    return "";
}

/// Each line of a text behind a mark.
std::string marked(const std::string& lines, const std::string& mark) {
    std::string text;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', begin), lines.size());
        text += mark + lines.substr(begin, end - begin) + '\n';
        begin = end + 1;
    }
    return text;
}

} // namespace

void ValidationText::printBegin(const ValidationRecord& record) {
    out_ << fmt::format("validating {}: profile {}, seed {}\n", printable(record.plugin),
                        profileName(record.profile), record.seed)
         << std::flush;
}

void ValidationText::printGroup(const GroupRecord& group) {
    out_ << fmt::format("{:>2} {}: {}\n", group.group->number, group.group->title, group.totals().summary());
    for (const CheckRecord& record : group.checks) {
        if (record.outcome.verdict.result != CheckResult::Pass) {
            printCheck(record);
        }
    }
    out_ << std::flush;
}

void ValidationText::printCheck(const CheckRecord& record) {
    const CheckVerdict& verdict = record.outcome.verdict;
    out_ << fmt::format("   {} {} {}: {}\n", resultText(verdict.result), record.check->number,
                        record.check->name, record.check->rule)
         << fmt::format("      {}\n", verdict.reason);
    if (verdict.result != CheckResult::Skip) {
        out_ << marked(record.outcome.output, "      | ") << fmt::format("      replay: {}\n", record.replay);
    }
}

void ValidationText::printEnd(const ValidationRecord& record) {
    const CheckTotals totals = record.totals();
    out_ << counted(totals.all(), "rule") << ": " << totals.summary();
    if (record.leftOut > 0) {
        out_ << fmt::format("; left out: {} that only the in-memory provider keeps",
                            counted(record.leftOut, "rule"));
    }
    out_ << '\n' << std::flush;
}

} // namespace storage::host
