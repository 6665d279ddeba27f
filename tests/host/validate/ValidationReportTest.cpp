#include "host/validate/ValidateRun.h"

#include "host/console/Console.h"
#include "host/support/CommandError.h"
#include "host/support/UsageError.h"
#include "host/validate/kit/CheckContext.h"
#include "tests/support/MadeUpChecks.h"
#include "tests/support/TemporaryFolder.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace storage::tests {

namespace {

using namespace host;
using testing::EndsWith;
using testing::HasSubstr;

using Json = nlohmann::json;
using Xml = boost::property_tree::ptree;

class ValidationReportTest : public testing::Test {
protected:
    ValidationReportTest() {
        options_.profile = Profile::InMemoryProvider;
        options_.seed = 7;
        options_.plugin = TEST_PLUGIN;
    }

    ExitStatus run(OutputKind errors = OutputKind::Plain, const std::string& plugin = TEST_PLUGIN) {
        Console console(out_, OutputKind::Plain, err_, errors);
        return runValidate(plugin, options_, madeUpChecks(), console);
    }

    static std::string replay(const std::string& number, const std::string& profile = "in-memory") {
        return "qzstorage validate --profile " + profile + " --seed 7 --only " + number + " " TEST_PLUGIN;
    }

    ValidateOptions options_;
    std::ostringstream out_;
    std::ostringstream err_;
};

TEST_F(ValidationReportTest, ListsAllButPassesAsText) {
    EXPECT_EQ(run(), ExitStatus::Failure);
    EXPECT_EQ(out_.str(), "validating " TEST_PLUGIN ": profile in-memory, seed 7\n"
                          " 1 Letters: 1 passed, 1 failed, 1 skipped\n"
                          "   FAILED 1.2 letters.broken: B comes after A.\n"
                          "      B comes <before> A\n"
                          "      replay: " +
                              replay("1.2") +
                              "\n"
                              "   skipped 1.3 letters.skipped: C is a letter.\n"
                              "      no C here\n"
                              " 2 Numbers: 1 passed, 1 crashed\n"
                              "   CRASHED 2.2 numbers.crash: 2 is even.\n"
                              "      ended with exit status 3\n"
                              "      | last\\x01words\n"
                              "      | of 2\n"
                              "      replay: " +
                              replay("2.2") + "\n5 rules: 2 passed, 1 failed, 1 crashed, 1 skipped\n");
    EXPECT_EQ(err_.str(), "");
}

TEST_F(ValidationReportTest, CountsRulesOutsideTheProfileAsText) {
    options_.profile = Profile::AnyProvider;
    run();
    EXPECT_THAT(out_.str(), HasSubstr(": profile any, seed 7\n"));
    EXPECT_THAT(out_.str(),
                EndsWith("\n4 rules: 1 passed, 1 failed, 1 crashed, 1 skipped; left out: 1 rule of the "
                         "profile in-memory\n"));
}

TEST_F(ValidationReportTest, SucceedsIfNothingIsBroken) {
    options_.only = {"1.1", "1.3", "2.1"};
    EXPECT_EQ(run(), ExitStatus::Success);
    EXPECT_THAT(out_.str(), EndsWith("\n3 rules: 2 passed, 1 skipped\n"));
    options_.only = {"1.2"};
    EXPECT_EQ(run(), ExitStatus::Failure);
    options_.only = {"2.2"};
    EXPECT_EQ(run(), ExitStatus::Failure);
}

TEST_F(ValidationReportTest, ShowsAndClearsProgressOnATerminal) {
    run(OutputKind::Terminal);
    EXPECT_THAT(err_.str(), HasSubstr("\r\033[K2 of 5: 1.2 letters.broken\r"));
    EXPECT_THAT(err_.str(), EndsWith("5 of 5: 2.2 numbers.crash\r\033[K"));
}

TEST_F(ValidationReportTest, PrintsEverythingAsJson) {
    options_.format = ReportFormat::Json;
    EXPECT_EQ(run(), ExitStatus::Failure);
    const Json report = Json::parse(out_.str());
    EXPECT_EQ(report["tool"], "qzstorage");
    EXPECT_EQ(report["version"], QZSTORAGE_VERSION);
    EXPECT_EQ(report["plugin"], TEST_PLUGIN);
    EXPECT_EQ(report["profile"], "in-memory");
    EXPECT_EQ(report["seed"], 7);
    EXPECT_EQ(report["totals"],
              Json::parse(R"({"rules": 5, "passed": 2, "failed": 1, "crashed": 1, "hung": 0, "skipped": 1,
                                                "leftOut": 0})"));
    ASSERT_EQ(report["rules"].size(), 5U);
    Json crash = report["rules"][4];
    EXPECT_TRUE(crash["milliseconds"].is_number_unsigned() || crash["milliseconds"].is_number_integer());
    crash.erase("milliseconds");
    EXPECT_EQ(crash, Json::parse(R"({"number": "2.2", "name": "numbers.crash", "group": "Numbers",
                                     "rule": "2 is even.", "profile": "any", "result": "crash",
                                     "excepted": false, "reason": "ended with exit status 3", "output": "last\\x01words\nof 2",
                                     "replay": ")" +
                                 replay("2.2") + "\"}"));
    std::string results;
    for (const Json& rule : report["rules"]) {
        results += rule["result"].get<std::string>() + " ";
    }
    EXPECT_EQ(results, "pass fail skip pass crash ");
}

TEST_F(ValidationReportTest, PrintsThePluginPathUnchangedAsJson) {
    const TemporaryFolder folder;
    options_.format = ReportFormat::Json;
    options_.only = {"1.1"};
    for (const std::string name : {"a\\b\n\xC3\xA4.so", "not \xFF UTF-8.so"}) {
        out_.str("");
        std::filesystem::create_symlink(TEST_PLUGIN, folder / name);
        EXPECT_EQ(run(OutputKind::Plain, folder / name), ExitStatus::Success);
        const std::string shown = boost::replace_all_copy(folder / name, "\xFF", "\uFFFD");
        EXPECT_EQ(Json::parse(out_.str())["plugin"], shown);
    }
}

TEST_F(ValidationReportTest, PrintsEverythingAsJUnit) {
    const TemporaryFolder folder;
    options_.junitFile = folder / "report.xml";
    EXPECT_EQ(run(), ExitStatus::Failure);
    EXPECT_THAT(out_.str(), HasSubstr("5 rules")) << "the text is printed as well";
    Xml document;
    read_xml(folder / "report.xml", document);
    const Xml& suites = document.get_child("testsuites");
    EXPECT_EQ(suites.get<int>("<xmlattr>.tests"), 5);
    EXPECT_EQ(suites.get<int>("<xmlattr>.failures"), 1);
    EXPECT_EQ(suites.get<int>("<xmlattr>.errors"), 1);
    EXPECT_EQ(suites.get<int>("<xmlattr>.skipped"), 1);
    std::vector<Xml> tests;
    for (const auto& [element, suite] : suites) {
        for (const auto& [part, test] : suite) {
            if (part == "testcase") {
                tests.push_back(test);
            }
        }
    }
    ASSERT_EQ(tests.size(), 5U);
    EXPECT_EQ(tests[0].get<std::string>("<xmlattr>.name"), "1.1 letters.kept");
    EXPECT_EQ(tests[0].get<std::string>("<xmlattr>.classname"), "Letters");
    EXPECT_EQ(tests[1].get<std::string>("failure.<xmlattr>.message"), "B comes <before> A");
    EXPECT_EQ(tests[1].get<std::string>("failure"), "B comes after A.\nreplay: " + replay("1.2") + "\n");
    EXPECT_EQ(tests[2].get<std::string>("skipped.<xmlattr>.message"), "no C here");
    EXPECT_EQ(tests[3].count("failure") + tests[3].count("error") + tests[3].count("skipped"), 0U);
    EXPECT_EQ(tests[4].get<std::string>("error.<xmlattr>.message"), "ended with exit status 3");
    EXPECT_THAT(tests[4].get<std::string>("error"), EndsWith("\nlast\\x01words\nof 2"));
}

TEST_F(ValidationReportTest, ReportsAnUnwritableJUnitFileBeforeTheRun) {
    const TemporaryFolder folder;
    options_.junitFile = folder / "missing/report.xml";
    EXPECT_ANY_THROW(run());
    EXPECT_EQ(out_.str(), "");
}

TEST_F(ValidationReportTest, RepeatsWithOtherSeedsUntilAFailure) {
    static const std::array checks{
        Check{"1.1", "seeds.not-nine", "The seed is not 9.", Profile::AnyProvider, [](CheckContext& context) {
                  if (context.random()() == std::mt19937_64(9)()) {
                      throw RuleBroken("it is:\n- 8\n+ 9");
                  }
              }}};
    const std::array groups{CheckGroup{1, "Seeds", checks}};
    Console console(out_, OutputKind::Plain, err_, OutputKind::Plain);
    options_.repeat = 2;
    EXPECT_EQ(runValidate(TEST_PLUGIN, options_, groups, console), ExitStatus::Success);
    options_.repeat = 5;
    out_.str("");
    const TemporaryFolder folder;
    options_.junitFile = folder / "report.xml";
    EXPECT_EQ(runValidate(TEST_PLUGIN, options_, groups, console), ExitStatus::Failure);
    EXPECT_THAT(out_.str(),
                HasSubstr("\n      it is:\n      - 8\n      + 9\n      replay: qzstorage validate --profile "
                          "in-memory --seed 9 --only 1.1 "));
    EXPECT_THAT(readFile(folder / "report.xml"),
                HasSubstr("<failure message=\"it is:\">The seed is not 9.\n- 8\n+ 9\n"));
}

TEST_F(ValidationReportTest, ListsExceptedRulesWithoutCheckingThem) {
    const TemporaryFolder folder;
    std::ofstream(folder / "exceptions")
        << "# what a tape cannot do\n\n2.2\t no even numbers \r\n  1.? it has no letters";
    options_.except = {"letters.broken"};
    options_.exceptFrom = folder / "exceptions";
    options_.junitFile = folder / "report.xml";
    EXPECT_EQ(run(), ExitStatus::Success);
    EXPECT_EQ(out_.str(), "validating " TEST_PLUGIN ": profile in-memory, seed 7\n"
                          " 1 Letters: 3 skipped\n"
                          "   skipped 1.1 letters.kept: A is a letter.\n"
                          "      excepted: it has no letters\n"
                          "   skipped 1.2 letters.broken: B comes after A.\n"
                          "      excepted: named by --except\n"
                          "   skipped 1.3 letters.skipped: C is a letter.\n"
                          "      excepted: it has no letters\n"
                          " 2 Numbers: 1 passed, 1 skipped\n"
                          "   skipped 2.2 numbers.crash: 2 is even.\n"
                          "      excepted: no even numbers\n"
                          "5 rules: 1 passed, 4 skipped; excepted: 1.1, 1.2, 1.3, 2.2\n");
    Xml document;
    read_xml(folder / "report.xml", document);
    EXPECT_EQ(document.get<int>("testsuites.<xmlattr>.skipped"), 4);
    EXPECT_EQ(document.get<int>("testsuites.<xmlattr>.errors"), 0);
    EXPECT_THAT(readFile(folder / "report.xml"),
                HasSubstr("<skipped message=\"excepted: no even numbers\"/>"));
    options_.format = ReportFormat::Json;
    out_.str("");
    run();
    const Json report = Json::parse(out_.str());
    EXPECT_EQ(report["rules"][4]["excepted"], true);
    EXPECT_EQ(report["rules"][4]["result"], "skip");
    EXPECT_EQ(report["rules"][3]["excepted"], false);
}

TEST_F(ValidationReportTest, RejectsInvalidExceptions) {
    const TemporaryFolder folder;
    const std::string file = folder / "exceptions";
    const auto fails = [&](const std::string& content) {
        std::ofstream(file) << content;
        try {
            run();
        } catch (const CommandError& error) {
            return error.path() + ": " + error.what();
        } catch (const UsageError& error) {
            return std::string(error.what());
        }
        return std::string("succeeds");
    };
    options_.exceptFrom = file;
    EXPECT_EQ(fails("1.2 reason\n2.2\n"), file + ":2: '2.2': missing reason after the pattern");
    EXPECT_EQ(fails("3.1 reason\n"),
              file + ":1: no rule matches '3.1'; 'qzstorage validate --list' lists the rules");
    EXPECT_EQ(fails("* reason\n"), "all selected rules are excepted, so nothing would be checked");
    options_.except = {"x*"};
    EXPECT_EQ(fails(""), "no rule matches 'x*'; 'qzstorage validate --list' lists the rules");
    options_.except = {};
    options_.exceptFrom = folder / "missing";
    EXPECT_EQ(fails(""), folder / "missing" + ": No such file or directory");
    options_.exceptFrom = folder / ".";
    EXPECT_EQ(fails(""), folder / "." + ": Is a directory");
    EXPECT_EQ(out_.str(), "");
}

TEST_F(ValidationReportTest, ListsRulesWithoutAPlugin) {
    options_.task = ValidateOptions::Task::List;
    std::ostringstream err;
    Console console(out_, OutputKind::Plain, err, OutputKind::Plain);
    EXPECT_EQ(runValidate("/missing.so", options_, madeUpChecks(), console), ExitStatus::Success);
    EXPECT_EQ(out_.str(), "1 Letters\n"
                          "  1.1    letters.kept    any       A is a letter.\n"
                          "  1.2    letters.broken  any       B comes after A.\n"
                          "  1.3    letters.skipped any       C is a letter.\n"
                          "2 Numbers\n"
                          "  2.1    numbers.kept    in-memory 1 is a number.\n"
                          "  2.2    numbers.crash   any       2 is even.\n");
    out_.str("");
    options_.format = ReportFormat::Json;
    options_.only = {"2.1"};
    EXPECT_EQ(runValidate("/missing.so", options_, madeUpChecks(), console), ExitStatus::Success);
    EXPECT_EQ(Json::parse(out_.str()),
              Json::parse(R"({"rules": [{"number": "2.1", "name": "numbers.kept", "group": "Numbers",
                                         "rule": "1 is a number.", "profile": "in-memory"}]})"));
}

TEST_F(ValidationReportTest, ListsRulesAsMarkdown) {
    options_.task = ValidateOptions::Task::ListAsMarkdown;
    options_.only = {"1.1", "1.2", "2.1"};
    EXPECT_EQ(run(), ExitStatus::Success);
    EXPECT_EQ(out_.str(), "## 1 Letters\n\n"
                          "They are *ordered*.\n\n"
                          "**1.1** A is a letter.\n\n"
                          "**1.2** B comes after A.\n\n"
                          "## 2 Numbers\n\n"
                          "They are not.\n\n"
                          "**2.1** *(in-memory)* 1 is a number.\n");
}

} // namespace

} // namespace storage::tests
