#pragma once

#include <functional>

namespace storage::tests {

/// While one lives, its thread calls `hook` right after it has unlocked a mutex, so also in the middle of an operation,
/// between two steps of it. Mutexes that the hook itself unlocks do not count.
///
/// Linking this replaces `pthread_mutex_unlock` in the whole program, shared libraries included. For one thread, and one at
/// a time in it.
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
