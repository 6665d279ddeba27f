#include "host/validate/report/ValidationJson.h"

#include "host/support/Utf.h"
#include "host/validate/report/RuleJson.h"
#include "host/validate/rules/ProfileName.h"

namespace storage::host {

namespace {

using Json = nlohmann::ordered_json;

const char* resultName(CheckResult result) {
    switch (result) {
    case CheckResult::Pass:
        return "pass";
    case CheckResult::Fail:
        return "fail";
    case CheckResult::Skip:
        return "skip";
    case CheckResult::Crash:
        return "crash";
    }
    return "";
}

Json recordJson(const CheckGroup& group, const CheckRecord& record) {
    Json json = ruleJson(group, *record.check);
    json["result"] = resultName(record.outcome.verdict.result);
    json["reason"] = record.outcome.verdict.reason;
    json["output"] = record.outcome.output;
    json["milliseconds"] = record.outcome.duration.count();
    json["replay"] = record.replay;
    return json;
}

Json totalsJson(const ValidationRecord& record) {
    const CheckTotals totals = record.totals();
    return {{"rules", totals.all()},     {"passed", totals.passed},   {"failed", totals.failed},
            {"crashed", totals.crashed}, {"skipped", totals.skipped}, {"leftOut", record.leftOut}};
}

} // namespace

void printJson(std::ostream& out, const ValidationRecord& record) {
    Json json{{"tool", "qzstorage"},
              {"version", QZSTORAGE_VERSION},
              {"plugin", printable(record.plugin)},
              {"profile", profileName(record.profile)},
              {"seed", record.seed},
              {"totals", totalsJson(record)},
              {"rules", Json::array()}};
    for (const GroupRecord& group : record.groups) {
        for (const CheckRecord& each : group.checks) {
            json["rules"].push_back(recordJson(*group.group, each));
        }
    }
    out << json.dump(2) << '\n' << std::flush;
}

} // namespace storage::host
