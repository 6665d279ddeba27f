#include "host/support/Counted.h"
#include "host/support/Utf.h"
#include "host/validate/report/ValidationReports.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <utility>

namespace storage::host {

using Result = CheckOutcome::Result;

namespace {

using State = ValidationRecord::CheckRun::State;

/// Adds a prefix to each line of a text.
std::string marked(const std::string& lines, const std::string& mark) {
    std::string text;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', begin), lines.size());
        text += mark + lines.substr(begin, end - begin) + '\n';
        begin = end + 1;
    }
    return text;
}

void printCheck(std::ostream& out, const ValidationRecord::CheckRun& run) {
    const CheckOutcome& outcome = run.outcome;
    out << fmt::format("   {} {} {}: {}\n", wordsFor(outcome.result).marked, run.check->number,
                       run.check->name, run.check->rule)
        << marked(outcome.reason, "      ");
    if (outcome.result != Result::Skip) {
        out << marked(outcome.output, "      | ") << fmt::format("      replay: {}\n", run.replay);
    }
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

void printRulesAsMarkdown(std::ostream& out, const CheckSelection& selection) {
    const char* separator = "";
    for (const CheckSelection::Group& group : selection.groups) {
        out << fmt::format("{}## {} {}\n\n{}\n", std::exchange(separator, "\n"), group.group->number,
                           group.group->title, group.group->about);
        for (const Check* const check : group.checks) {
            out << fmt::format("\n**{}**{} {}\n", check->number,
                               check->profile == Profile::InMemoryProvider ? " *(in-memory)*" : "",
                               check->rule);
        }
    }
    out << std::flush;
}

void printBegin(std::ostream& out, const ValidationRecord& record) {
    out << fmt::format("validating {}: profile {}, seed {}\n", printable(record.plugin),
                       profileName(record.profile), record.seed)
        << std::flush;
}

void printGroup(std::ostream& out, const ValidationRecord::Group& group) {
    out << fmt::format("{:>2} {}: {}\n", group.group->number, group.group->title, group.totals().summary());
    for (const ValidationRecord::CheckRun& run : group.checks) {
        if (run.outcome.result != Result::Pass && run.state != State::NotReached) {
            printCheck(out, run);
        }
    }
    out << std::flush;
}

void printEnd(std::ostream& out, const ValidationRecord& record) {
    const ValidationRecord::Totals totals = record.totals();
    out << counted(totals.all(), "rule") << ": " << totals.summary();
    if (record.leftOut > 0) {
        out << fmt::format("; left out: {} of the profile in-memory", counted(record.leftOut, "rule"));
    }
    if (const auto excepted = record.numbersOf(State::Excepted); !excepted.empty()) {
        out << fmt::format("; excepted: {}", fmt::join(excepted, ", "));
    }
    if (const std::size_t left = record.numbersOf(State::NotReached).size(); left > 0) {
        out << fmt::format("; {}: {} not checked", record.stopped, counted(left, "rule"));
    }
    out << '\n' << std::flush;
}

} // namespace storage::host
