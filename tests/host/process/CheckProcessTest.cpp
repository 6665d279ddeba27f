#include "host/process/CheckProcess.h"
#include "tests/support/ExpectVerdict.h"
#include "tests/support/ProcessState.h"

#include <csignal>
#include <cstdlib>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <iostream>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace storage::tests {

namespace {

using namespace host;
using Result = CheckOutcome::Result;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;

constexpr milliseconds plenty(60000);
constexpr milliseconds soon(50);

const CheckOutcome pass{Result::Pass, ""};

CheckOutcome outcomeOf(const CheckProcess::Task& task, milliseconds limit = plenty) {
    return CheckProcess(task, limit).wait();
}

/// Raises the signal with its default action, which a sanitizer may have replaced.
void raiseByDefault(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

[[noreturn]] void waitForever() {
    for (;;) {
        ::pause();
    }
}

TEST(CheckProcessTest, ReturnsTheAnnouncedVerdict) {
    for (const CheckOutcome& verdict :
         {pass, CheckOutcome{Result::Fail, "the reason"}, CheckOutcome{Result::Skip, "no time"}}) {
        expectVerdict(outcomeOf([&](const auto& announce) { announce(verdict); }), verdict.result,
                      verdict.reason);
    }
}

TEST(CheckProcessTest, EscapesAndShortensTheReason) {
    const CheckOutcome verdict{Result::Fail, "a\nb\x1B\xFF" + std::string(100000, 'x')};
    const CheckOutcome outcome = outcomeOf([&](const auto& announce) { announce(verdict); });
    EXPECT_THAT(outcome.reason, StartsWith("a\nb\\x1B\\xFFxxx"));
    EXPECT_THAT(outcome.reason, HasSubstr("bytes left out"));
}

TEST(CheckProcessTest, ReportsASignalAsACrash) {
    for (const auto& [signal, name] :
         {std::pair(SIGSEGV, "SIGSEGV"), {SIGABRT, "SIGABRT"}, {SIGINT, "SIGINT"}}) {
        expectVerdict(outcomeOf([wanted = signal](const auto&) { raiseByDefault(wanted); }), Result::Crash,
                      std::string("was terminated by ") + name);
    }
}

TEST(CheckProcessTest, ReportsAnExitAsACrash) {
    expectVerdict(outcomeOf([](const auto&) { ::_exit(0); }), Result::Crash, "ended with exit status 0");
    expectVerdict(outcomeOf([](const auto&) { std::_Exit(7); }), Result::Crash, "ended with exit status 7");
}

TEST(CheckProcessTest, ReportsAnUncaughtExceptionAsACrash) {
    const CheckOutcome outcome = outcomeOf([](const auto&) {
        std::signal(SIGABRT, SIG_DFL);
        throw 5;
    });
    expectVerdict(outcome, Result::Crash, "was terminated by SIGABRT");
    EXPECT_THAT(outcome.output, HasSubstr("terminat"));
}

TEST(CheckProcessTest, ReportsACrashAfterTheVerdict) {
    expectVerdict(outcomeOf([](const auto& announce) {
                      announce(pass);
                      raiseByDefault(SIGSEGV);
                  }),
                  Result::Crash, "was terminated by SIGSEGV after the check had returned");
    expectVerdict(outcomeOf([](const auto& announce) {
                      announce({Result::Fail, "the reason"});
                      ::_exit(1);
                  }),
                  Result::Fail, "the reason; then the check ended with exit status 1");
}

TEST(CheckProcessTest, KillsTheCheckAtTheTimeLimit) {
    expectVerdict(outcomeOf([](const auto&) { waitForever(); }, soon), Result::Hang,
                  "did not end within 0.05 s");
    expectVerdict(outcomeOf([](const auto&) { std::raise(SIGSTOP); }, soon), Result::Hang,
                  "did not end within 0.05 s");
}

/// Doubles the limit until the verdict arrives within it.
TEST(CheckProcessTest, KillsTheCheckAfterTheVerdict) {
    for (milliseconds limit = soon;; limit *= 2) {
        const CheckOutcome outcome = outcomeOf(
            [](const auto& announce) {
                announce(pass);
                waitForever();
            },
            limit);
        const std::string ending =
            fmt::format("did not end within {:g} s", static_cast<double>(limit.count()) / 1000);
        if (outcome.reason != ending || limit > plenty) {
            expectVerdict(outcome, Result::Hang, ending + " after the check had returned");
            return;
        }
    }
}

TEST(CheckProcessTest, CapturesOutput) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        std::cout << "by a stream\n";
        std::printf("by C, without a newline");
        std::fflush(stdout);
        std::cerr << "\nerror\x1B[31m\n";
        announce(pass);
    });
    expectVerdict(outcome, Result::Pass, "");
    EXPECT_EQ(outcome.output, "by a stream\nby C, without a newline\nerror\\x1B[31m");
}

TEST(CheckProcessTest, CapturesOutputBeforeACrash) {
    const CheckOutcome outcome = outcomeOf([](const auto&) {
        std::printf("last words\n");
        ::_exit(1);
    });
    EXPECT_EQ(outcome.output, "last words");
}

TEST(CheckProcessTest, ShortensLongOutputWithoutBlocking) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        std::cout << "first\n" << std::string(3000000, 'z') << "\nlast\n";
        announce(pass);
    });
    expectVerdict(outcome, Result::Pass, "");
    EXPECT_THAT(outcome.output, StartsWith("first\nzzz"));
    EXPECT_THAT(outcome.output, HasSubstr("zzz\n...(2996012 bytes left out)...\nzzz"));
    EXPECT_TRUE(outcome.output.ends_with("zzz\nlast"));
}

TEST(CheckProcessTest, HandlesClosedAndEndlessOutput) {
    const CheckOutcome closed = outcomeOf([](const auto& announce) {
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        announce(pass);
    });
    expectVerdict(closed, Result::Pass, "");
    const CheckOutcome endless = outcomeOf(
        [](const auto&) {
            for (;;) {
                std::cout << "again\n";
            }
        },
        soon);
    expectVerdict(endless, Result::Hang, "did not end within 0.05 s");
}

/// Writes to all inherited descriptors except the standard ones.
void writeToAllInherited(std::string_view bytes) {
    std::signal(SIGPIPE, SIG_IGN); // the test may have inherited a pipe without a reader
    for (int number = STDERR_FILENO + 1; number < 1024; ++number) {
        [[maybe_unused]] const ssize_t ignored = ::write(number, bytes.data(), bytes.size());
    }
}

TEST(CheckProcessTest, RejectsVerdictsForgedThroughInheritedDescriptors) {
    const std::string ending = "ended with exit status 0 after writing to a descriptor that is not its own";
    for (const std::string_view bytes :
         {std::string_view("\0", 1), std::string_view("\1", 1), std::string_view("x")}) {
        expectVerdict(outcomeOf([&](const auto&) {
                          writeToAllInherited(bytes);
                          ::_exit(0);
                      }),
                      Result::Crash, ending);
        for (const bool isFirst : {true, false}) {
            expectVerdict(outcomeOf([&](const auto& announce) {
                              if (isFirst) {
                                  writeToAllInherited(bytes);
                              }
                              announce(pass);
                              if (!isFirst) {
                                  writeToAllInherited(bytes);
                              }
                          }),
                          Result::Crash, ending);
        }
    }
}

TEST(CheckProcessTest, ReturnsTheVerdictIfLowDescriptorsAreClosed) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        for (int number = STDERR_FILENO + 1; number < 256; ++number) {
            ::close(number);
        }
        announce({Result::Fail, "the reason"});
    });
    expectVerdict(outcome, Result::Fail, "the reason");
}

TEST(CheckProcessTest, ReportsACrashIfAllDescriptorsAreClosed) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        ::close_range(STDERR_FILENO + 1, ~0U, 0);
        std::signal(SIGABRT, SIG_DFL);
        announce(pass);
    });
    EXPECT_EQ(outcome.result, Result::Crash);
}

TEST(CheckProcessTest, HasEmptyStandardInput) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        std::string line;
        announce({Result::Fail, std::getline(std::cin, line) ? "a line" : "the end"});
    });
    expectVerdict(outcome, Result::Fail, "the end");
}

TEST(CheckProcessTest, DoesNotWaitForOtherThreads) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        std::thread(waitForever).detach();
        announce(pass);
    });
    expectVerdict(outcome, Result::Pass, "");
}

/// The child of the check also keeps the pipes open.
TEST(CheckProcessTest, KillsChildrenOfTheCheck) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        const pid_t child = ::fork();
        if (child == 0) {
            waitForever();
        }
        std::cout << child;
        announce(pass);
    });
    expectVerdict(outcome, Result::Pass, "");
    EXPECT_TRUE(endsSoon(std::stoi(outcome.output)));
}

TEST(CheckProcessTest, KillsTheProcessWithTheObject) {
    pid_t process = 0;
    {
        const ChildProcess child([] { waitForever(); });
        process = child.id();
        EXPECT_FALSE(hasEnded(process));
    }
    EXPECT_TRUE(hasEnded(process));
}

TEST(CheckProcessTest, HasItsOwnProcessGroupAndWritesNoCore) {
    const CheckOutcome outcome = outcomeOf([](const auto& announce) {
        rlimit core{};
        ::getrlimit(RLIMIT_CORE, &core);
        std::cout << (::getpgrp() == ::getpid()) << ' ' << core.rlim_cur;
        announce(pass);
    });
    EXPECT_EQ(outcome.output, "1 1");
}

} // namespace

} // namespace storage::tests
