#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

TEST(ProgramTest, RunsTheLinesOfItsInput) {
    const ProgramRun run({"shell"}, "mkdir /a\nwrite /a/f hello\ncat /a/f\n");
    EXPECT_EQ(run.output(), "hello\n");
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.status(), 0);
}

TEST(ProgramTest, RunsAScript) {
    const TemporaryFolder folder;
    const std::string script = folder.write("script", "write /f 1\ncat /f /x\nwrite /g 2\n");
    const ProgramRun run({"run", script});
    EXPECT_EQ(run.output(), "1\n");
    EXPECT_EQ(run.errors(), "qzstorage: cat: /x: no such file or folder\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, ADeviceWithoutEndIsNoScript) {
    const ProgramRun run({"run", "--keep-going", "/dev/zero"});
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(),
              "qzstorage: /dev/zero: line 1 has more than 4194304 bytes; this is not a script\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, GoesOnAfterFailuresWhenAsked) {
    const TemporaryFolder folder;
    const std::string lines = "cat /x\nwrite /g 2\ncat /g\n";
    for (const ProgramRun& run : {ProgramRun({"run", "--keep-going", folder.write("script", lines)}),
                                  ProgramRun({"shell", "--keep-going"}, lines)}) {
        EXPECT_EQ(run.output(), "2\n");
        EXPECT_EQ(run.errors(), "qzstorage: cat: /x: no such file or folder\n");
        EXPECT_EQ(run.status(), 1);
    }
}

TEST(ProgramTest, AUsageErrorInAScriptHasAStatusOfItsOwn) {
    EXPECT_EQ(ProgramRun({"shell"}, "ls -z\n").status(), 2);
    EXPECT_EQ(ProgramRun({"shell"}, "ls 'x\n").status(), 2);
}

TEST(ProgramTest, ProvesThatATreeCameBackWhole) {
    const TemporaryFolder folder;
    folder.write("src/s/f", std::string(1000000, 'x'));
    folder.write("src/g", "");
    const std::string src = folder / "src";
    const std::string out = folder / "out";
    const ProgramRun run({"shell"}, "import " + src +
                                        " /include\nfind /include -name '?'\nmv /include /moved\n" +
                                        "export /moved " + out + "\ncheck\ncheck /moved " + out + "\n");
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.output(), "imported 2 folders, 2 files, 1000000 bytes\n"
                            "/include/g\n/include/s\n/include/s/f\n"
                            "exported 2 folders, 2 files, 1000000 bytes\n"
                            "check: 2 folders, 2 files, 1000000 bytes: equal\n"
                            "check: 2 folders, 2 files, 1000000 bytes: equal\n");
    EXPECT_EQ(run.status(), 0);
}

TEST(ProgramTest, HelpShowsTheUsageWithExamples) {
    const ProgramRun run({"--help"});
    EXPECT_THAT(run.output(), HasSubstr("Examples:\n  qzstorage shell"));
    EXPECT_THAT(run.output(), HasSubstr("--plugin PATH"));
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(ProgramRun({"run", "--help"}).output(), HasSubstr("SCRIPT"));
    EXPECT_THAT(ProgramRun({"--version"}).output(), MatchesRegex("qzstorage [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(ProgramTest, WrongUsageIsOneLineAndStatusTwo) {
    using Arguments = std::vector<std::string>;
    for (const Arguments& arguments : {Arguments{},
                                       {"frobnicate"},
                                       {"run"},
                                       {"shell", "x"},
                                       {"--plugin"},
                                       {"-z"},
                                       {"two\nlines\x1B[0m"}}) {
        const ProgramRun run(arguments);
        EXPECT_EQ(run.status(), 2);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n\x1B]* \\(try 'qzstorage --help'\\)\n"));
        EXPECT_EQ(run.output(), "");
    }
}

TEST(ProgramTest, AGivenPluginIsUsed) {
    EXPECT_EQ(ProgramRun({"--plugin", TEST_PLUGIN, "shell"}, "pwd\n").output(), "/\n");
}

TEST(ProgramTest, ErrorsAndOutputComeInTheOrderInWhichTheyHappened) {
    const ProgramRun run({"shell", "--keep-going"}, "pwd\nls /x\npwd\n",
                         [] { ::dup2(STDOUT_FILENO, STDERR_FILENO); });
    EXPECT_EQ(run.output(), "/\nqzstorage: ls: /x: no such file or folder\n/\n");
}

TEST(ProgramTest, AnEmptyPathOfAScriptOrPluginIsWrongUsage) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"run", ""}, std::vector<std::string>{"--plugin", "", "shell"}}) {
        const ProgramRun run(arguments);
        EXPECT_EQ(run.status(), 2);
        EXPECT_EQ(run.errors(), "qzstorage: the path of a script, plug-in, mount point or report is empty "
                                "(try 'qzstorage --help')\n");
    }
}

} // namespace
