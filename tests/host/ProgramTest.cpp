#include "tests/host/ProgramRun.h"
#include "tests/host/TemporaryFolder.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

const std::string badPlugins = TEST_BAD_PLUGINS;

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
    for (const Arguments& arguments :
         {Arguments{}, {"frobnicate"}, {"run"}, {"shell", "x"}, {"--plugin"}, {"-z"}}) {
        const ProgramRun run(arguments);
        EXPECT_EQ(run.status(), 2);
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]* \\(try 'qzstorage --help'\\)\n"));
        EXPECT_EQ(run.output(), "");
    }
}

TEST(ProgramTest, AScriptThatCannotBeReadIsNamed) {
    const TemporaryFolder folder;
    const ProgramRun missing({"run", "/nowhere/script"});
    EXPECT_EQ(missing.errors(), "qzstorage: /nowhere/script: No such file or directory\n");
    EXPECT_EQ(missing.status(), 1);
    const ProgramRun isFolder({"run", folder.path()});
    EXPECT_EQ(isFolder.errors(), "qzstorage: " + folder.path() + ": Is a directory\n");
    EXPECT_EQ(isFolder.status(), 1);
}

TEST(ProgramTest, ABadPluginIsOneLineAndStatusOne) {
    const TemporaryFolder folder;
    for (const std::string& plugin :
         {std::string("/nowhere/plugin.so"), folder.write("text.so", "text"), folder.path(),
          badPlugins + "/libNoEntryPoint.so", badPlugins + "/libThrowingEntryPoint.so",
          badPlugins + "/libEmptyProvider.so"}) {
        const ProgramRun run({"--plugin", plugin, "shell"}, "ls\n");
        EXPECT_EQ(run.status(), 1) << plugin;
        EXPECT_THAT(run.errors(), StartsWith("qzstorage: " + plugin + ": "));
        EXPECT_EQ(std::count(run.errors().begin(), run.errors().end(), '\n'), 1) << run.errors();
    }
}

TEST(ProgramTest, APluginWhoseOperationsThrowAnythingIsReportedLineByLine) {
    const ProgramRun run(
        {"--plugin", badPlugins + "/libFailingProvider.so", "shell", "--keep-going"},
        "mkdir /number\nmkdir /unknown\nmkdir /memory\nmkdir /own\nmkdir /code\nls /text\ntree\n");
    EXPECT_EQ(run.errors(), "qzstorage: mkdir: /number: unknown failure\n"
                            "qzstorage: mkdir: /unknown: unknown failure\n"
                            "qzstorage: mkdir: /memory: out of memory\n"
                            "qzstorage: mkdir: /own: the tape is torn\n"
                            "qzstorage: mkdir: /code: failed for a reason that this host does not know\n"
                            "qzstorage: ls: /text: the tape\\nis stuck\n"
                            "qzstorage: tree: /: the tape\\nis stuck\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, AGivenPluginIsUsed) {
    EXPECT_EQ(ProgramRun({"--plugin", TEST_PLUGIN, "shell"}, "pwd\n").output(), "/\n");
}

TEST(ProgramTest, ErrorsAndOutputComeInTheOrderInWhichTheyHappened) {
    const ProgramRun run({"shell", "--keep-going"}, "pwd\nls /x\npwd\n",
                         [] { ::dup2(STDOUT_FILENO, STDERR_FILENO); });
    EXPECT_EQ(run.output(), "/\nqzstorage: ls: /x: no such file or folder\n/\n");
}

TEST(ProgramTest, AClosedInputIsAFailure) {
    const ProgramRun run({"shell"}, "", [] { ::close(STDIN_FILENO); });
    EXPECT_EQ(run.errors(), "qzstorage: standard input: Bad file descriptor\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, AClosedOutputIsReportedAndLandsInNoFile) {
    const TemporaryFolder folder;
    const std::string lines = "write /f content\nexport /f " + folder / "f" + "\n";
    const ProgramRun run({"shell"}, lines, [] { ::close(STDOUT_FILENO); });
    EXPECT_EQ(run.errors(), "qzstorage: standard output: Bad file descriptor\n");
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(readFile(folder / "f"), "content\n");
}

TEST(ProgramTest, AnEmptyPathOfAScriptOrPluginIsWrongUsage) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"run", ""}, std::vector<std::string>{"--plugin", "", "shell"}}) {
        const ProgramRun run(arguments);
        EXPECT_EQ(run.status(), 2);
        EXPECT_EQ(run.errors(),
                  "qzstorage: the path of a script or plug-in is empty (try 'qzstorage --help')\n");
    }
}

TEST(ProgramTest, AReaderThatGoesAwayEndsQuietly) {
    const ProgramRun run({"shell"}, "help\nwrite /f x\n", [] {
        int ends[2];
        if (::pipe(ends) == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::close(ends[0]);
        }
    });
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, AFullOutputIsReported) {
    const ProgramRun run({"shell"}, "help\n", [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); });
    EXPECT_EQ(run.errors(), "qzstorage: standard output: No space left on device\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, ALineOfOneMebibyteIsALine) {
    const std::string text(1 << 20, 'x');
    const ProgramRun run({"shell"}, "write /f " + text + "\ncat /f\n");
    EXPECT_EQ(run.output(), text + '\n');
    EXPECT_EQ(run.status(), 0);
}

} // namespace
