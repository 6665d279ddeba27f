#pragma once

namespace storage::tests {

/// While one lives, its thread often gives way to others right after it has unlocked a mutex: so also in the middle of
/// an operation, between two steps of it. Left to chance, threads hardly ever meet there, least of all on a busy
/// machine.
///
/// Linking this replaces `pthread_mutex_unlock` in the whole program, shared libraries included. For one thread.
class ThreadShaker {
public:
    ThreadShaker();
    ThreadShaker(const ThreadShaker&) = delete;
    ThreadShaker& operator=(const ThreadShaker&) = delete;
    ~ThreadShaker();
};

} // namespace storage::tests
