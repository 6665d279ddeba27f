#include "inmemoryprovider/filesystem/SpinThenBlockLock.h"

#include "tests/support/RunTogether.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace storage::inmemoryprovider::spin_then_block_lock_test {
namespace {

/// Checks whether another thread could lock `mutex`.
bool isFree(std::mutex& mutex) {
    bool free = false;
    std::thread([&] {
        const std::unique_lock lock(mutex, std::try_to_lock);
        free = lock.owns_lock();
    }).join();
    return free;
}

/// Two threads increment one counter, `steps` at a time.
long countTogether(int times, int steps) {
    std::mutex mutex;
    volatile long count = 0;
    const auto countOften = [&] {
        for (int time = 0; time < times; ++time) {
            const SpinThenBlockLock lock(mutex);
            for (int step = 0; step < steps; ++step) {
                count = count + 1;
            }
        }
    };
    tests::runTogether({countOften, countOften});
    return count;
}

TEST(SpinThenBlockLockTest, HoldsTheMutexDuringItsLifetime) {
    std::mutex mutex;
    {
        const SpinThenBlockLock lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(SpinThenBlockLockTest, ExcludesOtherThreads) {
    EXPECT_EQ(countTogether(200'000, 1), 400'000);
}

/// The lock is held far longer than a waiting thread spins before it sleeps.
TEST(SpinThenBlockLockTest, ExcludesOtherThreadsIfHeldLong) {
    EXPECT_EQ(countTogether(50, 500'000), 50'000'000);
}

TEST(SpinThenBlockLockTest, WaitsUntilTheMutexIsReleased) {
    std::mutex mutex;
    std::atomic<bool> asking = false;
    std::atomic<bool> released = false;
    std::thread other;
    {
        const SpinThenBlockLock lock(mutex);
        other = std::thread([&] {
            asking = true;
            asking.notify_all();
            const SpinThenBlockLock own(mutex);
            EXPECT_TRUE(released);
        });
        asking.wait(false);
        for (int i = 0; i < 1000; ++i) {
            std::this_thread::yield(); // gives the other thread time to pass the lock
        }
        released = true;
    }
    other.join();
    EXPECT_TRUE(isFree(mutex));
}

TEST(SpinThenBlockLockTest, ReleasesTheMutexOnException) {
    std::mutex mutex;
    EXPECT_THROW(
        {
            const SpinThenBlockLock lock(mutex);
            throw 1;
        },
        int);
    EXPECT_TRUE(isFree(mutex));
}

} // namespace
} // namespace storage::inmemoryprovider::spin_then_block_lock_test
