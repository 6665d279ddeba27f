#include "host/validate/report/ValidationReports.h"

#include <nlohmann/json.hpp>

namespace storage::host {

namespace {

using Json = nlohmann::ordered_json;

Json ruleJson(const CheckSelection::Rule& rule) {
    return {{"number", rule.check->number},
            {"name", rule.check->name},
            {"group", rule.group->title},
            {"rule", rule.check->rule},
            {"profile", profileName(rule.check->profile)}};
}

Json runJson(const ValidationRecord::CheckRun& run) {
    Json json = ruleJson(run.rule);
    json["result"] = wordsFor(run.outcome.result).name;
    json["excepted"] = run.rule.exception.has_value();
    json["reason"] = run.outcome.reason;
    json["output"] = run.outcome.output;
    json["milliseconds"] = run.outcome.duration.count();
    json["replay"] = run.replay;
    return json;
}

Json totalsJson(const ValidationRecord& record) {
    const ValidationRecord::Totals totals(record.checks);
    Json json{{"rules", totals.all}};
    for (const ResultWords& words : resultWords) {
        json[words.counted] = totals.of(words.result);
    }
    json["leftOut"] = record.leftOut;
    return json;
}

} // namespace

void printRulesAsJson(std::ostream& out, const CheckSelection& selection) {
    Json rules = Json::array();
    for (const CheckSelection::Rule& rule : selection.rules) {
        rules.push_back(ruleJson(rule));
    }
    out << Json{{"rules", std::move(rules)}}.dump(2) << '\n' << std::flush;
}

void printJson(std::ostream& out, const ValidationRecord& record) {
    Json json{{"tool", "qzstorage"},       {"version", QZSTORAGE_VERSION},
              {"plugin", record.plugin},   {"profile", profileName(record.profile)},
              {"seed", record.seed},       {"totals", totalsJson(record)},
              {"stopped", record.stopped}, {"rules", Json::array()}};
    for (const ValidationRecord::CheckRun& run : record.checks) {
        json["rules"].push_back(runJson(run));
    }
    out << json.dump(2, ' ', /*ensure_ascii*/ false, Json::error_handler_t::replace) << '\n' << std::flush;
}

} // namespace storage::host
