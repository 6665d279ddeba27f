#pragma once

#include <functional>

namespace storage::tests {

/// During its lifetime, its thread calls `hook` after each unlocking of a mutex, so also between two steps of
/// an operation. Mutexes that the hook itself unlocks do not count.
///
/// Linking this replaces `pthread_mutex_unlock` in the whole program, including shared libraries. At most one
/// object per thread.
class UnlockHook {
public:
    explicit UnlockHook(std::function<void()> hook);
    UnlockHook(const UnlockHook&) = delete;
    UnlockHook& operator=(const UnlockHook&) = delete;
    ~UnlockHook();

private:
    std::function<void()> hook_;
};

} // namespace storage::tests
