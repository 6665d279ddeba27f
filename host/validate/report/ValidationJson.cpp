#include "host/validate/report/ValidationReports.h"

#include <nlohmann/json.hpp>

namespace storage::host {

namespace {

using Json = nlohmann::ordered_json;

Json ruleJson(const CheckGroup& group, const Check& check) {
    return {{"number", check.number},
            {"name", check.name},
            {"group", group.title},
            {"rule", check.rule},
            {"profile", profileName(check.profile)}};
}

Json runJson(const CheckGroup& group, const ValidationRecord::CheckRun& run) {
    Json json = ruleJson(group, *run.check);
    json["result"] = wordsFor(run.outcome.result).name;
    json["excepted"] = run.state == ValidationRecord::CheckRun::State::Excepted;
    json["reason"] = run.outcome.reason;
    json["output"] = run.outcome.output;
    json["milliseconds"] = run.outcome.duration.count();
    json["replay"] = run.replay;
    return json;
}

Json totalsJson(const ValidationRecord& record) {
    const ValidationRecord::Totals totals = record.totals();
    Json json{{"rules", totals.all()}};
    for (const ResultWords& words : resultWords) {
        json[words.counted] = totals.of(words.result);
    }
    json["leftOut"] = record.leftOut;
    return json;
}

} // namespace

void printRulesAsJson(std::ostream& out, const CheckSelection& selection) {
    Json rules = Json::array();
    for (const CheckSelection::Group& group : selection.groups) {
        for (const Check* const check : group.checks) {
            rules.push_back(ruleJson(*group.group, *check));
        }
    }
    out << Json{{"rules", std::move(rules)}}.dump(2) << '\n' << std::flush;
}

void printJson(std::ostream& out, const ValidationRecord& record) {
    Json json{{"tool", "qzstorage"},       {"version", QZSTORAGE_VERSION},
              {"plugin", record.plugin},   {"profile", profileName(record.profile)},
              {"seed", record.seed},       {"totals", totalsJson(record)},
              {"stopped", record.stopped}, {"rules", Json::array()}};
    for (const ValidationRecord::Group& group : record.groups) {
        for (const ValidationRecord::CheckRun& run : group.checks) {
            json["rules"].push_back(runJson(*group.group, run));
        }
    }
    out << json.dump(2, ' ', /*ensure_ascii*/ false, Json::error_handler_t::replace) << '\n' << std::flush;
}

} // namespace storage::host
