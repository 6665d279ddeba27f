#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Terminal.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace storage::tests {

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* prompt = "\r\nqzstorage:/> "; // on a new line: the editor also redraws it in place

/// Runs the program on a pseudoterminal.
class PromptTest : public testing::Test {
protected:
    using Environment = std::vector<std::pair<std::string, std::string>>;

    void SetUp() override {
        if (!Terminal().exists()) {
            GTEST_SKIP() << "no pseudoterminal is available here";
        }
    }

    /// Runs an interactive session that `person` controls. `person` ends it with `exit`.
    void runSession(const std::function<void(Terminal& terminal)>& person,
                    const Environment& environment = {},
                    const std::vector<std::string>& arguments = {"shell"}) const {
        Terminal terminal;
        const ProgramRun run(
            arguments, "",
            [&] {
                terminal.connect();
                for (const char* const name : {"NO_COLOR", "HISTFILE"}) {
                    ::unsetenv(name);
                }
                ::setenv("TERM", "dumb", 1);
                ::setenv("XDG_STATE_HOME", home_.path().c_str(), 1);
                for (const auto& [name, value] : environment) {
                    ::setenv(name.c_str(), value.c_str(), 1);
                }
            },
            [&](pid_t) {
                person(terminal);
                terminal.hangUp();
            });
        EXPECT_EQ(run.status(), 0);
    }

    /// Types a line at the prompt and waits for the next prompt.
    static std::string answer(Terminal& terminal, const std::string& line) {
        return printedAfter(terminal, line + '\n');
    }

    /// Types keys and waits for the next prompt.
    static std::string printedAfter(Terminal& terminal, const std::string& keys) {
        terminal.type(keys);
        return waitForPrompt(terminal);
    }

    static std::string waitForPrompt(Terminal& terminal) {
        std::string printed = terminal.readUntil(prompt);
        terminal.waitFor(Terminal::Mode::Keys);
        return printed;
    }

    static void leave(Terminal& terminal) {
        terminal.type("exit\n");
        terminal.readUntil("exit\r\n");
    }

    std::string historyFile() const { return home_ / "qzstorage/history"; }

    TemporaryFolder home_;
};

TEST_F(PromptTest, BeginsWithPluginAndHelp) {
    runSession([](Terminal& terminal) {
        EXPECT_THAT(waitForPrompt(terminal),
                    StartsWith("Plug-in libqzstorageinmemoryprovider.so; 'help' lists the commands, Tab "
                               "completes words\r\n"));
        leave(terminal);
    });
}

TEST_F(PromptTest, CompletesCommandsAndPathsWithTab) {
    const TemporaryFolder disk;
    disk.write("source file", "content\n");
    runSession([&](Terminal& terminal) {
        waitForPrompt(terminal);
        answer(terminal, "mkd\t'/my folder'");
        answer(terminal, "imp\t" + disk.path() + "/so\t/my\t");
        EXPECT_THAT(answer(terminal, "cat /m\tso\t"), HasSubstr("content"));
        answer(terminal, "touch '/my folder/source code'");
        terminal.type("ls /my\t\t\t");
        EXPECT_THAT(terminal.readUntil("source file  "), HasSubstr("source code  "));
        terminal.type("\n");
        leave(terminal);
    });
}

TEST_F(PromptTest, ShowsTheNamesOfSeveralStorages) {
    const TemporaryFolder disk;
    disk.write("folder/file", "content\n");
    runSession(
        [](Terminal& terminal) {
            EXPECT_THAT(terminal.readUntil("\r\nqzstorage:mem:/> "),
                        testing::AllOf(StartsWith("Plug-ins mem: libqzstorageinmemoryprovider.so"),
                                       HasSubstr(", disk: libDiskProvider.so; 'help' lists the commands, Tab "
                                                 "completes words\r\n")));
            terminal.waitFor(Terminal::Mode::Keys);
            terminal.type("cp -r di\tfo\t mem:/copy\n");
            terminal.readUntil("\r\nqzstorage:mem:/> ");
            terminal.waitFor(Terminal::Mode::Keys);
            terminal.type("cd mem:/co\t\n");
            terminal.readUntil("\r\nqzstorage:mem:/copy> ");
            terminal.waitFor(Terminal::Mode::Keys);
            terminal.type("cat f\t\n");
            EXPECT_THAT(terminal.readUntil("\r\nqzstorage:mem:/copy> "), HasSubstr("content\r\n"));
            terminal.waitFor(Terminal::Mode::Keys);
            leave(terminal);
        },
        {{"QZSTORAGE_DISK_ROOT", disk.path()}},
        {"--plugin", "mem=" TEST_PLUGIN, "--plugin", "disk=" TEST_DISK_PLUGIN, "shell"});
}

TEST_F(PromptTest, KeepsTheHistoryForTheNextSession) {
    runSession([](Terminal& terminal) {
        waitForPrompt(terminal);
        answer(terminal, "mkdir /first");
        leave(terminal);
    });
    EXPECT_EQ(readFile(historyFile()), "mkdir /first\nexit\n");
    struct stat status {};
    ASSERT_EQ(::stat(historyFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    runSession([](Terminal& terminal) {
        constexpr const char* previousLine = "\x10";
        waitForPrompt(terminal);
        answer(terminal, std::string(previousLine) + previousLine);
        EXPECT_THAT(answer(terminal, "ls"), HasSubstr("first\r\n"));
        leave(terminal);
    });
}

TEST_F(PromptTest, TurnsTheHistoryOffForAnEmptyName) {
    runSession(
        [](Terminal& terminal) {
            waitForPrompt(terminal);
            answer(terminal, "pwd");
            leave(terminal);
        },
        {{"HISTFILE", ""}});
    EXPECT_FALSE(std::filesystem::exists(historyFile()));
}

TEST_F(PromptTest, ReportsAnUnwritableHistoryOnce) {
    home_.write("qzstorage", "a file");
    runSession([](Terminal& terminal) {
        waitForPrompt(terminal);
        EXPECT_THAT(answer(terminal, "pwd"),
                    HasSubstr("/history: the history is not saved: Not a directory"));
        EXPECT_THAT(answer(terminal, "pwd"), Not(HasSubstr("history")));
        leave(terminal);
    });
}

TEST_F(PromptTest, PrintsFoldersInColorUnlessDisabled) {
    const auto listing = [this](const Environment& environment) {
        std::string result;
        runSession(
            [&](Terminal& terminal) {
                waitForPrompt(terminal);
                answer(terminal, "mkdir /folder");
                result = answer(terminal, "ls /");
                leave(terminal);
            },
            environment);
        return result;
    };
    constexpr const char* colored = "\033[1;34mfolder\033[0m";
    EXPECT_THAT(listing({{"TERM", "xterm"}}), HasSubstr(colored));
    EXPECT_THAT(listing({{"TERM", "xterm"}, {"NO_COLOR", "1"}}), Not(HasSubstr(colored)));
    EXPECT_THAT(listing({}), Not(HasSubstr("\033")));
}

TEST_F(PromptTest, WritesTypedTextUntilEndOfFile) {
    runSession([](Terminal& terminal) {
        constexpr const char* endOfInput = "\x04";
        waitForPrompt(terminal);
        terminal.type("write /f -\n");
        terminal.waitFor(Terminal::Mode::Lines);
        EXPECT_THAT(printedAfter(terminal, std::string("typed\n") + endOfInput), HasSubstr("typed\r\n"));
        EXPECT_THAT(answer(terminal, "cat /f"), HasSubstr("typed\r\n"));
        leave(terminal);
    });
}

} // namespace

} // namespace storage::tests
