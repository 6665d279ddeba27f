#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

TEST(ProgramTest, RunsLinesOfStandardInput) {
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
    EXPECT_EQ(run.errors(), "qzstorage: " + script + ":2: cat: /x: no such file or folder\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, ReportsFileAndLineOfAFailingScript) {
    const TemporaryFolder folder;
    const std::string script = folder.write("job.qz", "\nls 'x\nfrob\nmkdir\ncat /f | wc\nmkdir /a/b\n");
    const ProgramRun run({"run", "--keep-going", script});
    const std::string place = "qzstorage: " + script + ':';
    EXPECT_THAT(run.errors(),
                testing::AllOf(testing::Not(HasSubstr("line 2")),
                               HasSubstr(place + "2: a single quote is not closed\n"),
                               HasSubstr(place + "3: frob: unknown command (try 'help')\n"),
                               HasSubstr(place + "4: mkdir: missing operand, usage: mkdir [-p] PATH...\n"),
                               HasSubstr(place + "5: '|': pipes are not supported"),
                               HasSubstr(place + "6: mkdir: /a/b: ")));
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, RunsLinesOfTheCommandLine) {
    const ProgramRun run({"-c", "write /f -", "-c", "cat /f"}, "from a pipe");
    EXPECT_EQ(run.output(), "from a pipe");
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(ProgramRun({"--plugin", TEST_PLUGIN, "-c", "pwd\npwd"}).output(), "/\n/\n");
    EXPECT_EQ(ProgramRun({"shell", "-c", "pwd"}, "ls /x\n").output(), "/\n");
    EXPECT_EQ(ProgramRun({"-c", ""}).status(), 0);
}

TEST(ProgramTest, ReturnsTheStatusOfTheLine) {
    const ProgramRun failing({"-c", "ls /x", "-c", "pwd"});
    EXPECT_EQ(failing.errors(), "qzstorage: ls: /x: no such file or folder\n");
    EXPECT_EQ(failing.output(), "");
    EXPECT_EQ(failing.status(), 1);
    EXPECT_EQ(ProgramRun({"-c", "ls -z"}).status(), 2);
    EXPECT_EQ(ProgramRun({"shell", "--keep-going", "-c", "ls /x", "-c", "pwd"}).output(), "/\n");
}

TEST(ProgramTest, RequiresALineToBeOneArgument) {
    const ProgramRun unquoted({"-c", "ls", "/x"});
    EXPECT_EQ(unquoted.status(), 2);
    EXPECT_EQ(unquoted.errors(), "qzstorage: -c takes one argument, so '/x' is extra; quote the whole line "
                                 "(try 'qzstorage --help')\n");
    const ProgramRun beside({"-c", "ls", "unmount", "/x"});
    EXPECT_EQ(beside.status(), 2);
    EXPECT_THAT(beside.errors(), HasSubstr("-c cannot be combined with a subcommand"));
    EXPECT_EQ(ProgramRun({"-c"}).status(), 2);
}

TEST(ProgramTest, RejectsAnEndlessScript) {
    const ProgramRun run({"run", "--keep-going", "/dev/zero"});
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(),
              "qzstorage: /dev/zero: line 1 has more than 4194304 bytes; this is not a script\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, ContinuesAfterFailuresWithKeepGoing) {
    const TemporaryFolder folder;
    const std::string lines = "cat /x\nwrite /g 2\ncat /g\n";
    const std::string script = folder.write("script", lines);
    for (const auto& [run, place] : {std::pair{ProgramRun({"run", "--keep-going", script}), script + ":1: "},
                                     {ProgramRun({"shell", "--keep-going"}, lines), ""}}) {
        EXPECT_EQ(run.output(), "2\n");
        EXPECT_EQ(run.errors(), "qzstorage: " + place + "cat: /x: no such file or folder\n");
        EXPECT_EQ(run.status(), 1);
    }
}

TEST(ProgramTest, ReturnsStatusTwoForAUsageErrorInAScript) {
    EXPECT_EQ(ProgramRun({"shell"}, "ls -z\n").status(), 2);
    EXPECT_EQ(ProgramRun({"shell"}, "ls 'x\n").status(), 2);
}

TEST(ProgramTest, ImportsExportsAndChecksATree) {
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

TEST(ProgramTest, ShowsUsageAndExamplesAsHelp) {
    const ProgramRun run({"--help"});
    EXPECT_THAT(run.output(), HasSubstr("Examples:\n  qzstorage shell"));
    EXPECT_THAT(run.output(), HasSubstr("--plugin [NAME=]PATH"));
    EXPECT_EQ(run.status(), 0);
    EXPECT_THAT(ProgramRun({"run", "--help"}).output(), HasSubstr("SCRIPT"));
    EXPECT_THAT(ProgramRun({"--version"}).output(), MatchesRegex("qzstorage [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(ProgramTest, ReportsWrongUsageInOneLineWithStatusTwo) {
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
        EXPECT_THAT(run.errors(),
                    MatchesRegex("qzstorage: [^\n\x1B]* \\(try 'qzstorage( run| shell)? --help'\\)\n"));
        EXPECT_EQ(run.output(), "");
    }
}

TEST(ProgramTest, UsesTheGivenPlugin) {
    EXPECT_EQ(ProgramRun({"--plugin", TEST_PLUGIN, "shell"}, "pwd\n").output(), "/\n");
}

/// Lets the disk plug-in store its files in a folder.
ProgramRun::Preparation onDisk(const TemporaryFolder& folder) {
    return [path = folder.path()] { ::setenv("QZSTORAGE_DISK_ROOT", path.c_str(), 1); };
}

TEST(ProgramTest, UsesSeveralPluginsInOneSession) {
    const TemporaryFolder folder;
    folder.write("b/f", "content");
    const ProgramRun run({"--plugin", "mem=" TEST_PLUGIN, "--plugin", "disk=" TEST_DISK_PLUGIN, "shell"},
                         "cp -r disk:/b /\nwrite /b/g new\nmv /b/g disk:/\npwd\nfind mem:/ disk:/b\n",
                         onDisk(folder));
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.output(), "mem:/\nmem:/\nmem:/b\nmem:/b/f\ndisk:/b\ndisk:/b/f\n");
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(readFile(folder / "g"), "new\n");
}

TEST(ProgramTest, UsesOnePluginForSeveralStorages) {
    const ProgramRun run({"--plugin", "b=" TEST_PLUGIN, "--plugin", TEST_PLUGIN, "-c", "write /f 1", "-c",
                          "cp /f b:/g", "-c", "ls default:/ b:/", "-c", "ls b:/f"});
    EXPECT_EQ(run.output(), "default:/:\nf\n\nb:/:\ng\n");
    EXPECT_EQ(run.errors(), "qzstorage: ls: b:/f: no such file or folder\n");
    EXPECT_EQ(run.status(), 1);
}

TEST(ProgramTest, RejectsAmbiguousPluginNames) {
    using Arguments = std::vector<std::string>;
    for (const Arguments& plugins : {Arguments{TEST_PLUGIN, TEST_PLUGIN},
                                     {"a=" TEST_PLUGIN, "a=" TEST_PLUGIN},
                                     {"=" TEST_PLUGIN},
                                     {"a="}}) {
        Arguments arguments;
        for (const std::string& plugin : plugins) {
            arguments.insert(arguments.end(), {"--plugin", plugin});
        }
        arguments.insert(arguments.end(), {"-c", "pwd"});
        const ProgramRun run(arguments);
        EXPECT_EQ(run.status(), 2);
        EXPECT_EQ(run.output(), "");
        EXPECT_THAT(run.errors(), MatchesRegex("qzstorage: [^\n]* \\(try 'qzstorage --help'\\)\n"));
    }
    EXPECT_EQ(ProgramRun({"--plugin", "a=" TEST_PLUGIN, "validate", "--list"}).status(), 2);
    EXPECT_EQ(ProgramRun({"--plugin", "a=" TEST_PLUGIN, "--plugin", TEST_PLUGIN, "mount", "/x"}).status(), 2);
}

TEST(ProgramTest, KeepsTheOrderOfErrorsAndOutput) {
    const ProgramRun run({"shell", "--keep-going"}, "pwd\nls /x\npwd\n",
                         [] { ::dup2(STDOUT_FILENO, STDERR_FILENO); });
    EXPECT_EQ(run.output(), "/\nqzstorage: ls: /x: no such file or folder\n/\n");
}

TEST(ProgramTest, RejectsEmptyPaths) {
    using Case = std::pair<std::string, std::vector<std::string>>;
    for (const auto& [option, arguments] :
         {Case{"SCRIPT", {"run", ""}}, Case{"--plugin", {"--plugin", "", "shell"}},
          Case{"--plugin", {"--plugin", "a=", "shell"}}, Case{"MOUNTPOINT", {"mount", ""}},
          Case{"--import", {"mount", "/m", "--import", ""}}, Case{"MOUNTPOINT", {"unmount", ""}},
          Case{"PLUGIN", {"validate", ""}}, Case{"--junit", {"validate", "--junit", ""}}}) {
        const ProgramRun run(arguments);
        EXPECT_EQ(run.status(), 2) << option;
        EXPECT_THAT(run.errors(), StartsWith("qzstorage: " + option + ": empty path (try 'qzstorage "))
            << option;
    }
}

} // namespace

} // namespace storage::tests
