#pragma once

#include <functional>

namespace storage::tests {

/// During its lifetime, calls `hook` on its thread after each unlock of a mutex, including unlocks within an
/// operation. The hook is not called for mutexes that it unlocks itself.
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
