#pragma once

namespace storage::tests {

/// Makes its thread often yield just after it unlocks a mutex, also between the steps of an operation.
/// Without it, threads rarely interleave there, least of all on a busy machine.
///
/// Linking this file replaces `pthread_mutex_unlock` in the whole program, shared libraries included. Each
/// thread uses its own object.
class ThreadShaker {
public:
    ThreadShaker();
    ThreadShaker(const ThreadShaker&) = delete;
    ThreadShaker& operator=(const ThreadShaker&) = delete;
    ~ThreadShaker();
};

} // namespace storage::tests
