#include "tests/host/BadDiskTest.h"
#include "tests/support/Unprivileged.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <unistd.h>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::MatchesRegex;

/// Tests malformed scripts and unusable standard streams.
using BadDiskScriptTest = BadDiskTest;

// --- Scripts ---

TEST_F(BadDiskScriptTest, ReportsTheLineOfAnUnbalancedQuote) {
    for (const auto& [text, reason] : std::map<std::string, std::string>{
             {"write /f 'x", "a single quote is not closed"},
             {"write /f \"x", "a double quote is not closed"},
             {"write /f \"x\\\"", "a double quote is not closed"},
             {"write /f it's", "a single quote is not closed"},
             {"write /f x\\", "trailing backslash"},
             {"'" + std::string(mebibyte, 'x'), "a single quote is not closed"}}) {
        const ProgramRun stopping({"shell"}, "touch /ok\n" + text + "\nls\n");
        EXPECT_EQ(stopping.errors(), line("line 2: " + reason));
        EXPECT_EQ(stopping.output(), "");
        EXPECT_EQ(stopping.status(), 2);
        const ProgramRun goingOn = runLines("touch /ok\n" + text + "\nls\n");
        EXPECT_EQ(goingOn.errors(), line("line 2: " + reason));
        EXPECT_EQ(goingOn.output(), "ok\n");
        EXPECT_EQ(goingOn.status(), 1);
    }
}

TEST_F(BadDiskScriptTest, AcceptsALineOfOneMebibyte) {
    const std::string text(mebibyte, 'x');
    const ProgramRun run({"shell"},
                         "# " + text + "\nwrite /f " + text + "\nwrite /g '" + text + "'\ncat /f /g\n");
    EXPECT_EQ(run.output(), text + '\n' + text + '\n');
    EXPECT_EQ(run.errors(), "");
    EXPECT_EQ(run.status(), 0);
}

TEST_F(BadDiskScriptTest, ShortensMessagesAboutLongWords) {
    const std::string text(mebibyte, 'x');
    std::string deep;
    while (deep.size() < mebibyte) {
        deep += "/y";
    }
    const std::string shortened = R"((x|/x|/y)*\.\.\.\([0-9]+ bytes left out\)\.\.\.(x|/y)*)";
    for (const auto& [command, reason] : std::map<std::string, std::string>{
             {text, "line 1: " + shortened + R"(: unknown command \(try 'help'\))"},
             {"ls /" + text, "ls: " + shortened + ": no such file or folder"},
             {"ls " + deep, "ls: " + shortened + ": no such file or folder"},
             {"touch " + deep, "touch: " + shortened + ": folder /y does not exist"},
             {"cd a b" + text, "cd: extra operand 'b?" + shortened + "'"},
             {"ls -" + text, "ls: " + std::string("unknown option '-") + shortened + "'"},
             {"import /" + text + " /x", "import: " + shortened + ": File name too long"},
             {"write /f/" + text + "\nwrite /f x\nls /f/" + text, ".*"}}) {
        const ProgramRun run = runLines(command + '\n');
        EXPECT_EQ(run.status(), 1);
        EXPECT_LT(run.errors().size(), 6000U) << command.substr(0, 10);
        EXPECT_THAT(run.errors().substr(0, 5500), MatchesRegex("(qzstorage: " + reason + "\n)+"));
    }
}

TEST_F(BadDiskScriptTest, AcceptsNulBytes) {
    const ProgramRun run =
        runLines(std::string("write /a\0b x\0y\ncat /a\0b\n\0\nls\0 /\nimport /tmp\0 /x\n", 48));
    EXPECT_EQ(run.output(), std::string("x\0y\nimported 0 folders, 0 files, 0 bytes\n", 41));
    EXPECT_EQ(run.errors(), line("line 3: \\x00: unknown command (try 'help')") +
                                line("line 4: ls\\x00: unknown command (try 'help')") +
                                line("import: /tmp\\x00: a path on disk cannot contain NUL"));
}

TEST_F(BadDiskScriptTest, RunsAScriptWithByteOrderMarkAndCarriageReturns) {
    const std::string script =
        disk_.write("script", "\xEF\xBB\xBF"
                              "# made elsewhere\r\nwrite /f 'a  b'\r\n\r\ncat /f\r\nls -l\r\n");
    const ProgramRun run({"run", script});
    EXPECT_EQ(run.errors(), "");
    EXPECT_THAT(run.output(), MatchesRegex("a  b\n-rw 5 [-0-9]+ [:0-9]+ f\n"));
    EXPECT_EQ(run.status(), 0);
    const ProgramRun piped({"shell"}, "\xEF\xBB\xBFpwd\r\n");
    EXPECT_EQ(piped.output() + piped.errors(), "/\n");
}

TEST_F(BadDiskScriptTest, ReportsAnUnreadableScript) {
    fs::create_symlink("loop", disk_ / "loop");
    for (const auto& [path, reason] :
         std::map<std::string, std::string>{{disk_ / "none", "No such file or directory"},
                                            {disk_.path(), "Is a directory"},
                                            {disk_ / "loop", "Too many levels of symbolic links"}}) {
        const ProgramRun run({"run", path});
        EXPECT_EQ(run.errors(), line(path + ": " + reason));
        EXPECT_EQ(run.status(), 1);
    }
    const std::string locked = disk_.write("locked", "pwd\n");
    fs::permissions(locked, fs::perms::none);
    const ProgramRun run({"run", locked}, "", dropFilePrivileges);
    EXPECT_EQ(run.errors(), line(locked + ": Permission denied"));
    EXPECT_EQ(run.status(), 1);
}

// --- Standard streams ---

TEST_F(BadDiskScriptTest, ReportsUnreadableStandardInput) {
    const ProgramRun closed({"shell"}, "", [] { ::close(STDIN_FILENO); });
    EXPECT_EQ(closed.errors(), line("standard input: Bad file descriptor"));
    EXPECT_EQ(closed.status(), 1);
    const ProgramRun folder({"shell"}, "", [] { ::dup2(::open("/", O_RDONLY), STDIN_FILENO); });
    EXPECT_EQ(folder.errors(), line("standard input: Is a directory"));
    EXPECT_EQ(folder.status(), 1);
}

TEST_F(BadDiskScriptTest, ReportsAClosedOutputAndWritesToNoOtherFile) {
    const std::string lines = "write /f content\nexport /f " + disk_ / "f" + "\n";
    const ProgramRun run({"shell"}, lines, [] { ::close(STDOUT_FILENO); });
    EXPECT_EQ(run.errors(), line("standard output: Bad file descriptor"));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(readFile(disk_ / "f"), "content\n");
}

TEST_F(BadDiskScriptTest, ReportsAFullOutputInEveryCommand) {
    const std::string source = disk_.write("src/f", std::string(mebibyte, 'x'));
    for (const std::string command :
         {"help", "cat /f", "find", "ls -l", "tree", "du", "stat /f", "pwd", "check"}) {
        const ProgramRun run({"shell"}, "import " + source + " /f\n" + command + "\n",
                             [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); });
        EXPECT_EQ(run.errors(), line("standard output: No space left on device"));
        EXPECT_EQ(run.status(), 1);
    }
}

TEST_F(BadDiskScriptTest, EndsSilentlyIfTheReaderClosesThePipe) {
    for (const std::string command : {"help", "cat /f"}) {
        const ProgramRun run({"shell"}, "truncate -s 1M /f\n" + command + "\nwrite /f x\n", [] {
            int ends[2];
            if (::pipe(ends) == 0) {
                ::dup2(ends[1], STDOUT_FILENO);
                ::close(ends[0]);
            }
        });
        EXPECT_EQ(run.errors(), "");
        EXPECT_EQ(run.status(), 1);
    }
}

TEST_F(BadDiskScriptTest, KeepsTheStatusWithAClosedErrorStream) {
    const ProgramRun run({"shell", "--keep-going"}, "ls /x\nexport / " + disk_ / "out" + "\npwd\n",
                         [] { ::close(STDERR_FILENO); });
    EXPECT_EQ(run.output(), "exported 1 folder, 0 files, 0 bytes\n/\n");
    EXPECT_EQ(run.status(), 1);
}

} // namespace

} // namespace storage::tests
