#pragma once

#include <functional>

namespace storage::tests {

enum class ChildOutcome {
    Done,
    Terminated, ///< std::terminate was called
    Broken,     ///< an expectation failed, or the child ended in another way
};

/// Runs `task` in a child process. A failed expectation in it is printed and makes the outcome `Broken`.
ChildOutcome runInChild(const std::function<void()>& task);

} // namespace storage::tests
