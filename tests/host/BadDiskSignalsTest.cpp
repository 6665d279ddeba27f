#include "tests/host/BadDiskTest.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <sched.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;

/// Tests signals to the program.
using BadDiskSignalsTest = BadDiskTest;

/// A command and the signal that arrives during its operation at "/bad".
struct SignalCase {
    enum class End { Interrupted, Finished };

    std::string operation;
    std::string setup;
    std::string line;
    End end = End::Interrupted;
};

TEST_F(BadDiskSignalsTest, StopsInTheMiddleOfACommandWithStatus130) {
    disk_.write("src/f", std::string(mebibyte, 'x'));
    disk_.write("src/g", "x");
    const std::string makeFolder = "mkdir /bad\ntruncate -s 1M /bad/f\nwrite /bad/g x\n";
    const std::vector<SignalCase> commands{
        {"write", "", "import " + disk_ / "src" + " /bad"},
        {"read", makeFolder, "export /bad " + disk_ / "out"},
        {"read", "import " + disk_ / "src" + " /bad\n", "check"},
        {"read", makeFolder, "cat /bad/f"},
        {"listAll", makeFolder, "find /bad"},
        {"removeFile", makeFolder, "rm -r /bad"},
        {"read", makeFolder, "cp -r /bad /g"},
        {"moveFolder", makeFolder, "mv /bad /g", SignalCase::End::Finished},
    };
    int runs = 0;
    for (const SignalCase& command : commands) {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            SCOPED_TRACE(command.line + ", signal " + std::to_string(signal));
            const std::string misbehaviour = command.operation + " signal" + std::to_string(signal);
            const ProgramRun run({"--plugin", badPlugin, "shell", "--keep-going"},
                                 command.setup + command.line + "\nwrite /never reached\n",
                                 [&] { ::setenv("BAD_PLUGIN", misbehaviour.c_str(), /*replace*/ 1); });
            const std::string name = command.line.substr(0, command.line.find(' '));
            EXPECT_EQ(run.status(), 130);
            EXPECT_EQ(run.errors(),
                      command.end == SignalCase::End::Finished ? "" : line(name + ": interrupted"));
            EXPECT_THAT(namesIn(disk_.path()), AnyOf("src", "out src"));
            if (fs::exists(disk_ / "out")) {
                EXPECT_EQ(namesIn(disk_ / "out"), "");
                fs::remove_all(disk_ / "out");
            }
            ++runs;
        }
    }
    std::cout << "signals to the program: " << runs << " runs\n";
}

/// Sends SIGINT when the process sleeps in its wait. After its first output the process sleeps nowhere else,
/// so the signal arrives neither before the wait nor twice.
void interruptTheWait(pid_t process) {
    char state = 'R';
    while (state != 'S' && state != 'Z') {
        const std::string status = readFile("/proc/" + std::to_string(process) + "/stat");
        state = status[status.rfind(')') + 2];
        ::sched_yield();
    }
    ::kill(process, SIGINT);
}

class Pipe {
public:
    Pipe() { EXPECT_EQ(::pipe2(ends_, O_CLOEXEC), 0); }
    ~Pipe() {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }

    /// Waits for the first byte.
    void awaitOutput() const {
        char byte = 0;
        EXPECT_EQ(::read(readEnd(), &byte, 1), 1);
    }

private:
    int ends_[2] = {-1, -1};
};

TEST_F(BadDiskSignalsTest, InterruptsABlockedWrite) {
    const Pipe out;
    const ProgramRun run(
        {"shell"}, "truncate -s 1M /f\ncat /f\n", [&] { ::dup2(out.writeEnd(), STDOUT_FILENO); },
        [&](pid_t process) {
            out.awaitOutput();
            interruptTheWait(process);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), line("cat: interrupted"));
}

TEST_F(BadDiskSignalsTest, InterruptsTheWaitForALine) {
    const Pipe in;
    const Pipe out;
    ASSERT_EQ(::write(in.writeEnd(), "pwd\n", 4), 4);
    const ProgramRun run(
        {"shell"}, "",
        [&] {
            ::dup2(in.readEnd(), STDIN_FILENO);
            ::dup2(out.writeEnd(), STDOUT_FILENO);
        },
        [&](pid_t process) {
            out.awaitOutput();
            interruptTheWait(process);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), "");
}

TEST_F(BadDiskSignalsTest, InterruptsTheWaitForAScript) {
    const std::string fifo = disk_ / "fifo";
    makeFifo(fifo);
    const Pipe out;
    const ProgramRun run(
        {"--plugin", badPlugin, "run", fifo}, "",
        [&] {
            ::setenv("BAD_PLUGIN", "entry announce", /*replace*/ 1);
            ::dup2(out.writeEnd(), STDOUT_FILENO);
        },
        [&](pid_t process) {
            out.awaitOutput();
            interruptTheWait(process);
        });
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), line("interrupted"));
}

} // namespace

} // namespace storage::tests
