#include "tests/memory/ChildProcess.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>

namespace storage::tests {

namespace {

int statusOf(ChildOutcome outcome) {
    constexpr int firstStatus = 70; // away from what shells and sanitizers give
    return firstStatus + static_cast<int>(outcome);
}

[[noreturn]] void runAndExit(const std::function<void()>& task) {
    std::set_terminate([] { std::_Exit(statusOf(ChildOutcome::Terminated)); });
    task();
    std::fflush(nullptr);
    std::_Exit(statusOf(testing::Test::HasFailure() ? ChildOutcome::Broken : ChildOutcome::Done));
}

} // namespace

ChildOutcome runInChild(const std::function<void()>& task) {
    std::fflush(nullptr); // or the child prints it again
    const pid_t child = fork();
    if (child == -1) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        runAndExit(task);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (const auto outcome : {ChildOutcome::Done, ChildOutcome::Terminated}) {
        if (WIFEXITED(status) && WEXITSTATUS(status) == statusOf(outcome)) {
            return outcome;
        }
    }
    return ChildOutcome::Broken;
}

} // namespace storage::tests
