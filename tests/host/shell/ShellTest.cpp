#include "host/commands/CommandTable.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <csignal>
#include <deque>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using namespace host;
using testing::HasSubstr;

/// Lines that are available from the start.
class GivenLines final : public LineSource {
public:
    explicit GivenLines(std::deque<std::string> lines) : lines_(std::move(lines)) {}

    std::optional<std::string> next() override {
        if (lines_.empty()) {
            return std::nullopt;
        }
        std::string line = lines_.front();
        lines_.pop_front();
        return line;
    }

private:
    std::deque<std::string> lines_;
};

class ShellTest : public SessionTest {
protected:
    ExitStatus runAll(FailureHandling handling, std::deque<std::string> lines) {
        GivenLines source(std::move(lines));
        return Shell(host::commandTable(), session_, handling).run(source);
    }
};

TEST_F(ShellTest, IgnoresEmptyLinesAndComments) {
    EXPECT_EQ(succeed(""), "");
    EXPECT_EQ(succeed("   # ls"), "");
}

TEST_F(ShellTest, ReportsAnUnknownCommandAsAUsageError) {
    EXPECT_EQ(run("frobnicate x"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: frobnicate: unknown command (try 'help')\n");
    EXPECT_EQ(run("''"), ExitStatus::Usage);
}

TEST_F(ShellTest, ReportsAUsageErrorInOneLineWithTheCommand) {
    EXPECT_EQ(run("ls -z"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: ls: unknown option '-z'\n");
    EXPECT_EQ(run("mkdir"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: mkdir: missing operand, usage: mkdir [-p] PATH...\n");
}

TEST_F(ShellTest, ExpandsPatternsForEveryCommand) {
    succeed("touch /a.h /b.h /c");
    succeed("rm /*.h");
    EXPECT_EQ(succeed("ls"), "c\n");
}

TEST_F(ShellTest, ExpandsPatternsOfDiskOperandsOnTheDisk) {
    disk_.write("src/a.h", "1");
    disk_.write("src/b.h", "2");
    disk_.makeFolder("out1");
    succeed("mkdir -p /in1/src");
    succeed("touch /src.h /in1/src/c.h");
    succeed("import " + disk_ / "src/*.h" + " /in*");
    EXPECT_EQ(succeed("ls /in1"), "a.h\nb.h\nsrc\n");
    succeed("export /in1/*.h " + disk_ / "out*");
    EXPECT_EQ(namesIn(disk_ / "out1"), "a.h b.h");
    EXPECT_EQ(succeed("check /in1/a* " + disk_ / "out1/a*"), "check: 0 folders, 1 file, 1 byte: equal\n");
}

TEST_F(ShellTest, ExpandsPathsOnly) {
    succeed("touch /a.h /b.h");
    EXPECT_EQ(succeed("find / -name *.h"), "/a.h\n/b.h\n");
    succeed("write /t 2 * ?");
    EXPECT_EQ(succeed("cat /t"), "2 * ?\n");
}

TEST_F(ShellTest, StopsAScriptAtItsFirstFailure) {
    EXPECT_EQ(runAll(FailureHandling::Stop, {"pwd", "ls /x", "touch /f"}), ExitStatus::Failure);
    EXPECT_EQ(output(), "/\n");
    EXPECT_EQ(errors(), "qzstorage: ls: /x: no such file or folder\n");
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(ShellTest, StopsAScriptAtAUsageErrorAndNamesTheLine) {
    EXPECT_EQ(runAll(FailureHandling::Stop, {"", "ls 'x", "touch /f"}), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: line 2: a single quote is not closed\n");
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(ShellTest, ReturnsFailureAfterAScriptThatKeepsGoing) {
    EXPECT_EQ(runAll(FailureHandling::KeepGoing, {"ls /x", "frobnicate", "touch /f"}), ExitStatus::Failure);
    EXPECT_EQ(succeed("ls"), "f\n");
    EXPECT_EQ(runAll(FailureHandling::KeepGoing, {"pwd"}), ExitStatus::Success);
}

TEST_F(ShellTest, ContinuesAnInteractiveSessionAfterFailures) {
    EXPECT_EQ(runAll(FailureHandling::Interactive, {"ls /x", "ls 'x", "touch /f"}), ExitStatus::Success);
    EXPECT_EQ(errors(),
              "qzstorage: ls: /x: no such file or folder\nqzstorage: a single quote is not closed\n");
    EXPECT_EQ(succeed("ls"), "f\n");
}

TEST_F(ShellTest, EndsTheSessionOnExit) {
    EXPECT_EQ(runAll(FailureHandling::Stop, {"touch /f", "exit", "touch /g"}), ExitStatus::Success);
    EXPECT_EQ(succeed("ls"), "f\n");
}

TEST_F(ShellTest, ReturnsFailureOnExitAfterAFailure) {
    EXPECT_EQ(runAll(FailureHandling::KeepGoing, {"ls /x", "exit"}), ExitStatus::Failure);
}

TEST_F(ShellTest, EndsAnInterruptedScriptThatKeepsGoing) {
    succeed("truncate -s 1M /f");
    provider_->beforeRead = [] { std::raise(SIGINT); };
    EXPECT_EQ(runAll(FailureHandling::KeepGoing, {"cat /f", "touch /g"}), ExitStatus::Interrupted);
    EXPECT_EQ(provider_->doFileExists(provider::StorageIRI(u"/g")), false);
}

TEST_F(ShellTest, InterruptsOnlyTheRunningCommandOfAnInteractiveSession) {
    succeed("truncate -s 1M /f");
    provider_->beforeRead = [] { std::raise(SIGINT); };
    EXPECT_EQ(runAll(FailureHandling::Interactive, {"cat /f", "touch /g"}), ExitStatus::Success);
    EXPECT_TRUE(provider_->doFileExists(provider::StorageIRI(u"/g")));
}

TEST_F(ShellTest, EndsAnInteractiveSessionOnTermination) {
    succeed("truncate -s 1M /f");
    provider_->beforeRead = [] { std::raise(SIGTERM); };
    EXPECT_EQ(runAll(FailureHandling::Interactive, {"cat /f", "touch /g"}), ExitStatus::Interrupted);
}

TEST_F(ShellTest, FailsOnlyTheCommandWhenOutOfMemory) {
    provider_->beforeWrite = [] { throw std::bad_alloc(); };
    EXPECT_EQ(fail("write /f x"), "qzstorage: write: /f: out of memory\n");
    succeed("ls");
}

TEST_F(ShellTest, ReportsExceptionsOfThePlugin) {
    provider_->beforeWrite = [] { throw 42; };
    EXPECT_EQ(fail("write /f x"), "qzstorage: write: /f: an exception of type int\n");
}

} // namespace

} // namespace storage::tests
