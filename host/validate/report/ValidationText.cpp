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

using Rule = CheckSelection::Rule;

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
    const Check& check = *run.rule.check;
    const CheckOutcome& outcome = run.outcome;
    out << fmt::format("   {} {} {}: {}\n", wordsFor(outcome.result).marked, check.number, check.name,
                       check.rule)
        << marked(outcome.reason, "      ");
    if (outcome.result != Result::Skip) {
        out << marked(outcome.output, "      | ") << fmt::format("      replay: {}\n", run.replay);
    }
}

} // namespace

void printRules(std::ostream& out, const CheckSelection& selection) {
    std::size_t width = 0;
    for (const Rule& rule : selection.rules) {
        width = std::max(width, std::strlen(rule.check->name));
    }
    const CheckGroup* group = nullptr;
    for (const Rule& rule : selection.rules) {
        if (std::exchange(group, rule.group) != rule.group) {
            out << fmt::format("{} {}\n", group->number, group->title);
        }
        out << fmt::format("  {:<6} {:<{}} {:<9} {}\n", rule.check->number, rule.check->name, width,
                           profileName(rule.check->profile), rule.check->rule);
    }
    out << std::flush;
}

void printRulesAsMarkdown(std::ostream& out, const CheckSelection& selection) {
    const CheckGroup* group = nullptr;
    for (const Rule& rule : selection.rules) {
        if (rule.group != group) {
            out << fmt::format("{}## {} {}\n\n{}\n", group == nullptr ? "" : "\n", rule.group->number,
                               rule.group->title, rule.group->about);
            group = rule.group;
        }
        out << fmt::format("\n**{}**{} {}\n", rule.check->number,
                           rule.check->profile == Profile::InMemoryProvider ? " *(in-memory)*" : "",
                           rule.check->rule);
    }
    out << std::flush;
}

void printBegin(std::ostream& out, const ValidationRecord& record) {
    out << fmt::format("validating {}: profile {}, seed {}\n", printable(record.plugin),
                       profileName(record.profile), record.seed)
        << std::flush;
}

void printGroup(std::ostream& out, ValidationRecord::CheckRuns group) {
    const CheckGroup& about = *group.front().rule.group;
    out << fmt::format("{:>2} {}: {}\n", about.number, about.title,
                       ValidationRecord::Totals(group).summary());
    for (const ValidationRecord::CheckRun& run : group) {
        if (run.outcome.result != Result::Pass && !run.isPending) {
            printCheck(out, run);
        }
    }
    out << std::flush;
}

void printEnd(std::ostream& out, const ValidationRecord& record) {
    const ValidationRecord::Totals totals(record.checks);
    std::vector<std::string_view> excepted;
    std::size_t pending = 0;
    for (const ValidationRecord::CheckRun& run : record.checks) {
        if (run.rule.exception) {
            excepted.emplace_back(run.rule.check->number);
        }
        pending += run.isPending ? 1 : 0;
    }
    out << counted(totals.all, "rule") << ": " << totals.summary();
    if (record.leftOut > 0) {
        out << fmt::format("; left out: {} of the profile in-memory", counted(record.leftOut, "rule"));
    }
    if (!excepted.empty()) {
        out << fmt::format("; excepted: {}", fmt::join(excepted, ", "));
    }
    if (pending > 0) {
        out << fmt::format("; {}: {} not checked", record.stopped, counted(pending, "rule"));
    }
    out << '\n' << std::flush;
}

} // namespace storage::host
