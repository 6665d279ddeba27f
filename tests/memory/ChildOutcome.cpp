#include "tests/memory/ChildOutcome.h"

#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace storage::tests {

namespace {

constexpr int statusOfTerminated = 70; // above the exit codes of sanitizers and libraries
constexpr int statusOfBroken = 71;

} // namespace

ChildOutcome runInChild(const std::function<void()>& task) {
    host::ChildProcess child([&] {
        std::set_terminate([] { std::_Exit(statusOfTerminated); });
        task();
        if (testing::Test::HasFailure()) {
            std::fflush(nullptr);
            std::_Exit(statusOfBroken);
        }
    });
    const int status = waitForEnd(child);
    if (status == 0) {
        return ChildOutcome::Done;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == statusOfTerminated ? ChildOutcome::Terminated
                                                                          : ChildOutcome::Broken;
}

} // namespace storage::tests
