#include "tests/support/ProcessState.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <sys/resource.h>

namespace storage::tests {

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

/// Runs the program on a plug-in; an environment variable selects how it misbehaves.
ProgramRun runWith(
    const char* variable, const char* wrong, const Arguments& arguments,
    const ProgramRun::Companion& meanwhile = [](pid_t) {}) {
    return {arguments, "", [&] { ::setenv(variable, wrong, /*replace*/ 1); }, meanwhile};
}

/// Waits until a process has a child.
pid_t childOf(pid_t process) {
    const std::string children =
        "/proc/" + std::to_string(process) + "/task/" + std::to_string(process) + "/children";
    for (;;) {
        pid_t child = 0;
        if (std::ifstream(children) >> child) {
            return child;
        }
        std::this_thread::yield();
    }
}

TEST(ValidateProgramTest, PassesTheInstalledPlugin) {
    const ProgramRun run({"validate", "--seed", "7", "--only", "2.*"});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.output(),
                MatchesRegex("validating /[^\n]*/libqzstorageinmemoryprovider\\.so: profile in-memory, "
                             "seed 7\n 2 Creating and removing: [0-9]+ passed\n"
                             "[0-9]+ rules: [0-9]+ passed\n"));
    EXPECT_EQ(run.errors(), "");
}

TEST(ValidateProgramTest, ReportsABrokenRule) {
    const Arguments arguments{"validate", "--only", "2.2", TEST_BROKEN_PLUGIN};
    const ProgramRun run = runWith("BROKEN_PLUGIN", "CreatingTwice", arguments);
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(run.output(), HasSubstr("\n   FAILED 2.2 creating."));
    EXPECT_THAT(run.output(), HasSubstr("\n1 rule: 1 failed\n"));
    EXPECT_THAT(run.output(), HasSubstr("profile any, seed "));
}

TEST(ValidateProgramTest, PrintsAReplayLineThatReplays) {
    const std::string program = std::filesystem::path(TEST_PROGRAM).parent_path();
    const TemporaryFolder folder;
    const std::string plugin = folder / "it's a plug-in.so";
    std::filesystem::create_symlink(TEST_BROKEN_PLUGIN, plugin);
    const ProgramRun run = runWith("BROKEN_PLUGIN", "CreatingTwice", {"validate", "--only", "2.*", plugin});
    const std::string mark = "replay: ";
    const std::size_t begin = run.output().find(mark) + mark.size();
    const std::string line = run.output().substr(begin, run.output().find('\n', begin) - begin);
    ASSERT_THAT(line, StartsWith("qzstorage validate --profile any --seed "));
    const std::string out = folder / "out";
    const std::string shell =
        "PATH=" + program + ":$PATH BROKEN_PLUGIN=CreatingTwice; export BROKEN_PLUGIN; " + line + " >" + out;
    EXPECT_EQ(WEXITSTATUS(std::system(shell.c_str())), 1); // NOLINT(cert-env33-c)
    EXPECT_THAT(readFile(out), HasSubstr("\n      " + mark + line + "\n1 rule: 1 failed\n"));
}

TEST(ValidateProgramTest, WorksWithoutCoreFilesAndWithIgnoredChildSignals) {
    const auto prepare = [] {
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_CORE, &none);
        std::signal(SIGCHLD, SIG_IGN);
    };
    const ProgramRun run({"validate", "--only", "2.*"}, "", prepare);
    EXPECT_EQ(run.status(), 0) << run.output();
    EXPECT_EQ(run.errors(), "");
}

TEST(ValidateProgramTest, OverwritesOnlyReports) {
    const TemporaryFolder folder;
    const std::string plugin = folder / "plugin.so";
    std::filesystem::copy_file(TEST_PLUGIN, plugin);
    const ProgramRun run({"validate", "--only", "2.1", "--junit", plugin});
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.errors(), "qzstorage: " + plugin +
                                ": not an XML report, so it is not overwritten; choose another file\n");
    EXPECT_EQ(std::filesystem::file_size(plugin), std::filesystem::file_size(TEST_PLUGIN));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(ProgramRun({"validate", "--only", "2.1", "--junit", folder / "report.xml"}).status(), 0);
    }
}

TEST(ValidateProgramTest, ReportsAnUnusablePluginInOneLine) {
    const ProgramRun missing({"validate", "/missing.so"});
    EXPECT_EQ(missing.status(), 1);
    EXPECT_EQ(missing.output(), "");
    EXPECT_EQ(missing.errors(), "qzstorage: /missing.so: No such file or directory\n");
    const std::string plugin = TEST_BAD_PLUGIN;
    const ProgramRun none = runWith("BAD_PLUGIN", "entry standard", {"validate", plugin});
    EXPECT_EQ(none.status(), 1);
    EXPECT_EQ(none.errors(),
              "qzstorage: " + plugin + ": the plug-in returned no provider: the tape\\nis stuck\n");
    const ProgramRun crash = runWith("BAD_PLUGIN", "entry signal9", {"validate", plugin});
    EXPECT_EQ(crash.status(), 1);
    EXPECT_EQ(crash.errors(),
              "qzstorage: " + plugin +
                  ": the process that loaded it was terminated by SIGKILL, in buildProvider_V1\n");
}

TEST(ValidateProgramTest, SeparatesTheOutputOfThePluginFromTheReport) {
    const ProgramRun run = runWith("BAD_PLUGIN", "entry announce",
                                   {"validate", "--seed", "7", "--only", "2.1", TEST_BAD_PLUGIN});
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.output(), "validating " TEST_BAD_PLUGIN ": profile any, seed 7\n"
                            " 2 Creating and removing: 1 passed\n1 rule: 1 passed\n");
    EXPECT_EQ(run.errors(), "");
}

TEST(ValidateProgramTest, EndsTheRunAndItsProcessesOnCtrlC) {
    pid_t child = 0;
    const ProgramRun run =
        runWith("BAD_PLUGIN", "entry wait", {"validate", TEST_BAD_PLUGIN}, [&](pid_t program) {
            child = childOf(program);
            ::kill(program, SIGINT);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), "qzstorage: interrupted\n");
    EXPECT_TRUE(hasEnded(child));
}

TEST(ValidateProgramTest, EndsItsProcessHoweverItEnds) {
    const ProgramRun run =
        runWith("BAD_PLUGIN", "entry wait", {"validate", TEST_BAD_PLUGIN}, [](pid_t program) {
            const pid_t child = childOf(program);
            ::kill(program, SIGKILL);
            EXPECT_TRUE(endsSoon(child));
        });
    EXPECT_EQ(run.status(), -SIGKILL);
}

TEST(ValidateProgramTest, NamesTheOperationThatCrashes) {
    const ProgramRun crash =
        runWith("BAD_PLUGIN", "openReadOnlyStream signal9", {"validate", "--only", "8.1", TEST_BAD_PLUGIN});
    EXPECT_EQ(crash.status(), 1);
    EXPECT_THAT(
        crash.output(),
        HasSubstr("\n      was terminated by SIGKILL, in doOpenReadOnlyStream of /qzstorage-validate-"));
    const ProgramRun first = runWith("BAD_PLUGIN", "createFolder signal9", {"validate", TEST_BAD_PLUGIN});
    EXPECT_THAT(first.errors(),
                StartsWith("qzstorage: " TEST_BAD_PLUGIN ": the process that loaded it was terminated by "
                           "SIGKILL, in doCreateFolder of /qzstorage-validate-"));
}

TEST(ValidateProgramTest, EndsAFailFastRunAtTheFirstFailure) {
    const ProgramRun failed = runWith("BROKEN_PLUGIN", "CreatingTwice",
                                      {"validate", "--fail-fast", "--only", "2.*", TEST_BROKEN_PLUGIN});
    EXPECT_EQ(failed.status(), 1);
    EXPECT_THAT(failed.output(), HasSubstr(" 1 passed, 1 failed, "));
    EXPECT_THAT(
        failed.output(),
        ContainsRegex(
            "; stopped at the first check that failed, crashed or hung: [0-9]+ rules not checked\n$"));
}

TEST(ValidateProgramTest, PrintsTheSameReportWithSeveralJobs) {
    const auto report = [](const char* jobs) {
        return runWith("BROKEN_PLUGIN", "CreatingTwice",
                       {"validate", "--seed", "7", "--only", "2.*", "--only", "3.*", "--jobs", jobs,
                        TEST_BROKEN_PLUGIN})
            .output();
    };
    const std::string one = report("1");
    EXPECT_THAT(one, HasSubstr("FAILED 2.2 "));
    // Each run uses a folder with a random number in its name.
    const std::regex folder("qzstorage-validate-[0-9a-f]+");
    EXPECT_EQ(std::regex_replace(report("4"), folder, ""), std::regex_replace(one, folder, ""));
}

TEST(ValidateProgramTest, ReportsAnUnwritableReportFirst) {
    const ProgramRun run({"validate", "--junit", "/missing/report.xml"});
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), "qzstorage: /missing/report.xml: No such file or directory\n");
}

TEST(ValidateProgramTest, NamesAReportThatCannotBeExamined) {
    const std::string path = "/" + std::string(300, 'x');
    const ProgramRun run({"validate", "--junit", path});
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.errors(), "qzstorage: " + path + ": File name too long\n");
}

TEST(ValidateProgramTest, ReportsWrongUsageInOneLineWithStatusTwo) {
    const ProgramRun nothing({"validate", "--only", "x*"});
    EXPECT_EQ(nothing.status(), 2);
    EXPECT_EQ(nothing.errors(),
              "qzstorage: no rule matches 'x*'; 'qzstorage validate --list' lists the rules "
              "(try 'qzstorage validate --help')\n");
    const ProgramRun twice({"--plugin", "/p.so", "validate", "/q.so"});
    EXPECT_EQ(twice.status(), 2);
    EXPECT_THAT(twice.errors(), StartsWith("qzstorage: plug-in given twice: "));
}

TEST(ValidateProgramTest, PrintsExamplesInItsHelp) {
    const ProgramRun run({"validate", "--help"});
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(run.output(), HasSubstr("Examples:\n  qzstorage validate "));
}

} // namespace

} // namespace storage::tests
