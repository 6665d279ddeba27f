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

void putTotals(ptree& suite, const ValidationRecord::Totals& totals) {
    suite.put("<xmlattr>.tests", totals.all());
    suite.put("<xmlattr>.failures", totals.of(Result::Fail));
    suite.put("<xmlattr>.errors", totals.of(Result::Crash) + totals.of(Result::Hang));
    suite.put("<xmlattr>.skipped", totals.of(Result::Skip));
}

/// Adds a `failure` or `error` element that describes the result of a check.
void addTrouble(ptree& test, const char* element, const ValidationRecord::CheckRun& run) {
    const CheckOutcome& outcome = run.outcome;
    const std::size_t firstLine = std::min(outcome.reason.find('\n'), outcome.reason.size());
    ptree trouble(fmt::format("{}{}\nreplay: {}\n{}", run.check->rule, outcome.reason.substr(firstLine),
                              run.replay, outcome.output));
    trouble.put("<xmlattr>.message", outcome.reason.substr(0, firstLine));
    test.add_child(element, trouble);
}

ptree testCase(const CheckGroup& group, const ValidationRecord::CheckRun& run) {
    ptree test;
    test.put("<xmlattr>.classname", group.title);
    test.put("<xmlattr>.name", fmt::format("{} {}", run.check->number, run.check->name));
    test.put("<xmlattr>.time", seconds(run.outcome.duration));
    const Result result = run.outcome.result;
    if (result == Result::Skip) {
        test.put("skipped.<xmlattr>.message", run.outcome.reason);
    } else if (result != Result::Pass) {
        addTrouble(test, result == Result::Fail ? "failure" : "error", run);
    }
    return test;
}

void addProperty(ptree& suite, const char* name, const std::string& value) {
    ptree property;
    property.put("<xmlattr>.name", name);
    property.put("<xmlattr>.value", value);
    suite.add_child("properties.property", property);
}

ptree testSuite(const ValidationRecord& record, const ValidationRecord::Group& group) {
    ptree suite;
    suite.put("<xmlattr>.name", fmt::format("{} {}", group.group->number, group.group->title));
    putTotals(suite, group.totals());
    std::chrono::milliseconds time{};
    for (const ValidationRecord::CheckRun& run : group.checks) {
        time += run.outcome.duration;
    }
    suite.put("<xmlattr>.time", seconds(time));
    addProperty(suite, "plugin", printable(record.plugin));
    addProperty(suite, "profile", profileName(record.profile));
    addProperty(suite, "seed", std::to_string(record.seed));
    for (const ValidationRecord::CheckRun& run : group.checks) {
        suite.add_child("testcase", testCase(*group.group, run));
    }
    return suite;
}

} // namespace

std::string junitXml(const ValidationRecord& record) {
    ptree suites;
    suites.put("<xmlattr>.name", "qzstorage validate");
    putTotals(suites, record.totals());
    for (const ValidationRecord::Group& group : record.groups) {
        suites.add_child("testsuite", testSuite(record, group));
    }
    ptree document;
    document.add_child("testsuites", suites);
    std::ostringstream xml;
    write_xml(xml, document, boost::property_tree::xml_writer_settings<std::string>(' ', 2));
    return xml.str();
}

} // namespace storage::host
