#include "host/validate/report/RuleList.h"

#include "host/validate/report/RuleJson.h"
#include "host/validate/rules/ProfileName.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace storage::host {

namespace {

void printRulesAsText(std::ostream& out, const CheckSelection& selection) {
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
}

void printRulesAsJson(std::ostream& out, const CheckSelection& selection) {
    nlohmann::ordered_json rules = nlohmann::ordered_json::array();
    for (const CheckSelection::Group& group : selection.groups) {
        for (const Check* const check : group.checks) {
            rules.push_back(ruleJson(*group.group, *check));
        }
    }
    out << nlohmann::ordered_json{{"rules", std::move(rules)}}.dump(2) << '\n';
}

} // namespace

void printRules(std::ostream& out, const CheckSelection& selection, ReportFormat format) {
    if (format == ReportFormat::Json) {
        printRulesAsJson(out, selection);
    } else {
        printRulesAsText(out, selection);
    }
    out << std::flush;
}

} // namespace storage::host
