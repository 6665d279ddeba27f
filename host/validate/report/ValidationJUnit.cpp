#include "host/support/Utf.h"
#include "host/validate/report/ValidationReports.h"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <fmt/format.h>
#include <sstream>

namespace storage::host {

using Result = CheckOutcome::Result;

namespace {

using boost::property_tree::ptree;

std::string seconds(std::chrono::milliseconds time) {
    return fmt::format("{:.3f}", std::chrono::duration<double>(time).count());
}

void putTotals(ptree& suite, ValidationRecord::CheckRuns checks) {
    const ValidationRecord::Totals totals(checks);
    suite.put("<xmlattr>.tests", totals.all);
    suite.put("<xmlattr>.failures", totals.of(Result::Fail));
    suite.put("<xmlattr>.errors", totals.of(Result::Crash) + totals.of(Result::Hang));
    suite.put("<xmlattr>.skipped", totals.of(Result::Skip));
}

/// Adds a `failure` or `error` element that describes the result of a check.
void addTrouble(ptree& test, const char* element, const ValidationRecord::CheckRun& run) {
    const CheckOutcome& outcome = run.outcome;
    const std::size_t firstLine = std::min(outcome.reason.find('\n'), outcome.reason.size());
    ptree trouble(fmt::format("{}{}\nreplay: {}\n{}", run.rule.check->rule, outcome.reason.substr(firstLine),
                              run.replay, outcome.output));
    trouble.put("<xmlattr>.message", outcome.reason.substr(0, firstLine));
    test.add_child(element, trouble);
}

ptree testCase(const ValidationRecord::CheckRun& run) {
    ptree test;
    test.put("<xmlattr>.classname", run.rule.group->title);
    test.put("<xmlattr>.name", fmt::format("{} {}", run.rule.check->number, run.rule.check->name));
    test.put("<xmlattr>.time", seconds(run.outcome.duration));
    const Result result = run.outcome.result;
    if (result == Result::Skip) {
        test.put("skipped.<xmlattr>.message", run.outcome.reason);
    } else if (result != Result::Pass) {
        addTrouble(test, result == Result::Fail ? "failure" : "error", run);
    }
    return test;
}

ptree testSuite(const ValidationRecord& record, ValidationRecord::CheckRuns group) {
    ptree suite;
    const CheckGroup& about = *group.front().rule.group;
    suite.put("<xmlattr>.name", fmt::format("{} {}", about.number, about.title));
    putTotals(suite, group);
    std::chrono::milliseconds time{};
    for (const ValidationRecord::CheckRun& run : group) {
        time += run.outcome.duration;
    }
    suite.put("<xmlattr>.time", seconds(time));
    for (const auto& [name, value] : {std::pair<const char*, std::string>("plugin", printable(record.plugin)),
                                      {"profile", profileName(record.profile)},
                                      {"seed", std::to_string(record.seed)}}) {
        ptree& property = suite.add("properties.property", "");
        property.put("<xmlattr>.name", name);
        property.put("<xmlattr>.value", value);
    }
    for (const ValidationRecord::CheckRun& run : group) {
        suite.add_child("testcase", testCase(run));
    }
    return suite;
}

} // namespace

std::string junitXml(const ValidationRecord& record) {
    ptree suites;
    suites.put("<xmlattr>.name", "qzstorage validate");
    putTotals(suites, record.checks);
    for (const ValidationRecord::CheckRuns group : record.groups()) {
        suites.add_child("testsuite", testSuite(record, group));
    }
    ptree document;
    document.add_child("testsuites", suites);
    std::ostringstream xml;
    write_xml(xml, document, boost::property_tree::xml_writer_settings<std::string>(' ', 2));
    return xml.str();
}

} // namespace storage::host
