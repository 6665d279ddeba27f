#include "host/validate/report/ValidationText.h"

#include "host/support/Counted.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace storage::host {

namespace {

using Result = CheckOutcome::Result;
using State = ValidationRecord::CheckRun::State;

const char* resultText(Result result) {
    switch (result) {
    case Result::Pass:
        return "passed";
    case Result::Fail:
        return "FAILED";
    case Result::Skip:
        return "skipped";
    case Result::Crash:
        return "CRASHED";
    case Result::Hang:
        return "HUNG";
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

void printRules(std::ostream& out, const CheckSelection& selection) {
    std::size_t width = 0;
    for (const CheckSelection::Group& group : selection.groups) {
        for (const Check* const check : group.checks) {
            width = std::max(width, std::strlen(check->name));
        }
    }
    for (const CheckSelection::Group& group : selection.groups) {
        out << fmt::format("{} {}\n", group.group->number, group.group->title);
        for (const Check* const check : group.checks) {
            out << fmt::format("  {:<6} {:<{}} {:<9} {}\n", check->number, check->name, width,
                               profileName(check->profile), check->rule);
        }
    }
    out << std::flush;
}

void ValidationText::printBegin(const ValidationRecord& record) {
    out_ << fmt::format("validating {}: profile {}, seed {}\n", printable(record.plugin),
                        profileName(record.profile), record.seed)
         << std::flush;
}

void ValidationText::printGroup(const ValidationRecord::Group& group) {
    out_ << fmt::format("{:>2} {}: {}\n", group.group->number, group.group->title, group.totals().summary());
    for (const ValidationRecord::CheckRun& run : group.checks) {
        if (run.outcome.result != Result::Pass && run.state != State::NotReached) {
            printCheck(run);
        }
    }
    out_ << std::flush;
}

void ValidationText::printCheck(const ValidationRecord::CheckRun& run) {
    const CheckOutcome& outcome = run.outcome;
    out_ << fmt::format("   {} {} {}: {}\n", resultText(outcome.result), run.check->number, run.check->name,
                        run.check->rule)
         << marked(outcome.reason, "      ");
    if (outcome.result != Result::Skip) {
        out_ << marked(outcome.output, "      | ") << fmt::format("      replay: {}\n", run.replay);
    }
}

void ValidationText::printEnd(const ValidationRecord& record) {
    const ValidationRecord::Totals totals = record.totals();
    out_ << counted(totals.all(), "rule") << ": " << totals.summary();
    if (record.leftOut > 0) {
        out_ << fmt::format("; left out: {} that only the in-memory provider keeps",
                            counted(record.leftOut, "rule"));
    }
    if (const std::string numbers = record.excepted(); !numbers.empty()) {
        out_ << "; excepted: " << numbers;
    }
    if (record.notReached() > 0) {
        out_ << fmt::format("; {}: {} not checked", record.stopped, counted(record.notReached(), "rule"));
    }
    out_ << '\n' << std::flush;
}

} // namespace storage::host
