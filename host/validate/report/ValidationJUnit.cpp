#include "host/validate/report/ValidationJUnit.h"

#include "host/support/Utf.h"
#include "host/validate/rules/ProfileName.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <fmt/format.h>
#include <sstream>

namespace storage::host {

namespace {

using boost::property_tree::ptree;

std::string seconds(std::chrono::milliseconds time) {
    return fmt::format("{:.3f}", std::chrono::duration<double>(time).count());
}

void putTotals(ptree& suite, const CheckTotals& totals) {
    suite.put("<xmlattr>.tests", totals.all());
    suite.put("<xmlattr>.failures", totals.failed);
    suite.put("<xmlattr>.errors", totals.crashed);
    suite.put("<xmlattr>.skipped", totals.skipped);
}

/// What went wrong, as the element that says how.
void addTrouble(ptree& test, const char* element, const CheckRecord& record) {
    const CheckOutcome& outcome = record.outcome;
    ptree trouble(fmt::format("{}\nreplay: {}\n{}", record.check->rule, record.replay, outcome.output));
    trouble.put("<xmlattr>.message", outcome.verdict.reason);
    test.add_child(element, trouble);
}

ptree testCase(const GroupRecord& group, const CheckRecord& record) {
    ptree test;
    test.put("<xmlattr>.classname", group.group->title);
    test.put("<xmlattr>.name", fmt::format("{} {}", record.check->number, record.check->name));
    test.put("<xmlattr>.time", seconds(record.outcome.duration));
    switch (record.outcome.verdict.result) {
    case CheckResult::Pass:
        break;
    case CheckResult::Fail:
        addTrouble(test, "failure", record);
        break;
    case CheckResult::Crash:
        addTrouble(test, "error", record);
        break;
    case CheckResult::Skip:
        test.put("skipped.<xmlattr>.message", record.outcome.verdict.reason);
        break;
    }
    return test;
}

void addProperty(ptree& suite, const char* name, const std::string& value) {
    ptree property;
    property.put("<xmlattr>.name", name);
    property.put("<xmlattr>.value", value);
    suite.add_child("properties.property", property);
}

ptree testSuite(const ValidationRecord& record, const GroupRecord& group) {
    ptree suite;
    suite.put("<xmlattr>.name", fmt::format("{} {}", group.group->number, group.group->title));
    putTotals(suite, group.totals());
    std::chrono::milliseconds time{};
    for (const CheckRecord& each : group.checks) {
        time += each.outcome.duration;
    }
    suite.put("<xmlattr>.time", seconds(time));
    addProperty(suite, "plugin", printable(record.plugin));
    addProperty(suite, "profile", profileName(record.profile));
    addProperty(suite, "seed", std::to_string(record.seed));
    for (const CheckRecord& each : group.checks) {
        suite.add_child("testcase", testCase(group, each));
    }
    return suite;
}

} // namespace

std::string junitXml(const ValidationRecord& record) {
    ptree suites;
    suites.put("<xmlattr>.name", "qzstorage validate");
    putTotals(suites, record.totals());
    for (const GroupRecord& group : record.groups) {
        suites.add_child("testsuite", testSuite(record, group));
    }
    ptree document;
    document.add_child("testsuites", suites);
    std::ostringstream xml;
    write_xml(xml, document, boost::property_tree::xml_writer_settings<std::string>(' ', 2));
    return xml.str();
}

} // namespace storage::host
