#include "host/mount/RequestScheduler.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <gmock/gmock.h>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace storage::tests {

namespace {

using host::RequestDevice;
using host::RequestScheduler;
using testing::ElementsAre;
using testing::SizeIs;
using Drained = RequestScheduler::Drained;

constexpr std::chrono::minutes forever(1); ///< fails instead of hanging

/// A point at which threads wait.
class Gate {
public:
    void open() {
        const std::lock_guard lock(mutex_);
        isOpen_ = true;
        opened_.notify_all();
    }
    void await() {
        std::unique_lock lock(mutex_);
        EXPECT_TRUE(opened_.wait_for(lock, forever, [this] { return isOpen_; }));
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

/// A request of the fake device.
struct FakeRequest {
    enum class Length { Short, Long };

    Length length = Length::Short;
    std::function<void()> work = [] {};
};

/// A device with functions of the test as requests. Thread-safe.
class FakeDevice final : public RequestDevice {
public:
    void submit(std::vector<FakeRequest> requests) {
        const std::lock_guard lock(mutex_);
        for (FakeRequest& request : requests) {
            requests_.push_back(std::move(request));
            waiting_.push_back(&requests_.back());
        }
        changed_.notify_all();
    }

    bool hasEnded() const noexcept override {
        const std::lock_guard lock(mutex_);
        return hasEnded_;
    }
    void end() noexcept override {
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        changed_.notify_all();
    }
    Received receive(fuse_buf& request) override {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty()) {
            return Received::Nothing;
        }
        request.mem = waiting_.front();
        waiting_.pop_front();
        return Received::Request;
    }
    bool hasRequest() const override {
        const std::lock_guard lock(mutex_);
        return !waiting_.empty();
    }
    void waitForRequest() override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return hasEnded_ || !waiting_.empty(); });
    }
    bool isLong(const fuse_buf& request) const override {
        return static_cast<FakeRequest*>(request.mem)->length == FakeRequest::Length::Long;
    }
    void process(const fuse_buf& request) override { static_cast<FakeRequest*>(request.mem)->work(); }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<FakeRequest> requests_; ///< all requests of the test
    std::deque<FakeRequest*> waiting_;
    bool hasEnded_ = false;
};

/// A scheduler with its threads, idle at the start of a test: one thread waits for requests, the others wait
/// to be called.
class RequestSchedulerTest : public testing::Test {
protected:
    ~RequestSchedulerTest() override { stop(); }

    void start(unsigned workers) {
        scheduler_.emplace(device_, workers);
        for (unsigned i = 0; i < workers; ++i) {
            threads_.emplace_back([this] {
                fuse_buf request{};
                scheduler_->serve(request);
            });
        }
        drain();
    }

    void drain() { EXPECT_EQ(scheduler_->drain(forever), Drained::Yes); }

    void stop() {
        if (scheduler_) {
            scheduler_->stop();
        }
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    static FakeRequest aShort(std::function<void()> work) {
        return {FakeRequest::Length::Short, std::move(work)};
    }
    static FakeRequest aLong(std::function<void()> work) {
        return {FakeRequest::Length::Long, std::move(work)};
    }

    FakeDevice device_;
    std::optional<RequestScheduler> scheduler_;
    std::vector<std::thread> threads_;
};

TEST_F(RequestSchedulerTest, ProcessesSequentialShortRequestsOnOneThread) {
    start(3);
    std::set<std::thread::id> threads;
    for (int i = 0; i < 50; ++i) {
        device_.submit({aShort([&] { threads.insert(std::this_thread::get_id()); })});
        drain();
    }
    EXPECT_THAT(threads, SizeIs(1));
}

TEST_F(RequestSchedulerTest, CallsAnotherThreadBeforeALongRequest) {
    start(2);
    Gate shortIsDone;
    std::thread::id longThread;
    std::thread::id shortThread;
    device_.submit({aLong([&] {
                        longThread = std::this_thread::get_id();
                        shortIsDone.await();
                    }),
                    aShort([&] {
                        shortThread = std::this_thread::get_id();
                        shortIsDone.open();
                    })});
    drain();
    EXPECT_NE(longThread, shortThread);
    EXPECT_NE(shortThread, std::thread::id());
}

TEST_F(RequestSchedulerTest, CallsAnotherThreadWhenRequestsQueueUp) {
    start(2);
    Gate otherIsBusy;
    std::mutex mutex;
    std::set<std::thread::id> threads;
    std::vector<FakeRequest> pile(16, aShort([&] {
                                      const std::lock_guard lock(mutex);
                                      threads.insert(std::this_thread::get_id());
                                  }));
    for (int i = 0; i < 2; ++i) { // each occupies its thread until both are busy
        pile.push_back(aShort([&] {
            bool areTwo = false;
            {
                const std::lock_guard lock(mutex);
                threads.insert(std::this_thread::get_id());
                areTwo = threads.size() == 2;
            }
            areTwo ? otherIsBusy.open() : otherIsBusy.await();
        }));
    }
    device_.submit(std::move(pile));
    drain();
    EXPECT_THAT(threads, SizeIs(2));
}

TEST_F(RequestSchedulerTest, QueuesRequestsWhileAllThreadsAreBusy) {
    start(2);
    Gate bothAreBusy;
    Gate release;
    std::mutex mutex;
    std::vector<int> order;
    const auto note = [&](int number) {
        const std::lock_guard lock(mutex);
        order.push_back(number);
        return order.size();
    };
    const FakeRequest blocked = aLong([&] {
        if (note(1) == 2) {
            bothAreBusy.open();
        }
        release.await();
    });
    device_.submit({blocked, blocked, aShort([&] { note(2); })});
    bothAreBusy.await();
    EXPECT_TRUE(device_.hasRequest());
    release.open();
    drain();
    EXPECT_THAT(order, ElementsAre(1, 1, 2));
}

TEST_F(RequestSchedulerTest, DrainsRequestsInProgress) {
    start(2);
    for (const auto& make : {aShort, aLong}) {
        Gate begun;
        Gate release;
        bool isDone = false;
        device_.submit({make([&] {
            begun.open();
            release.await();
            isDone = true;
        })});
        begun.await();
        EXPECT_EQ(scheduler_->drain(std::chrono::milliseconds(0)), Drained::No);
        release.open();
        drain();
        EXPECT_TRUE(isDone);
    }
}

TEST_F(RequestSchedulerTest, DrainsQueuedRequests) {
    start(1);
    int count = 0;
    device_.submit(std::vector(100, aShort([&] { ++count; })));
    drain();
    EXPECT_EQ(count, 100);
}

TEST_F(RequestSchedulerTest, ProcessesEachRequestOnce) {
    start(3);
    std::mutex mutex;
    std::vector<int> processed(1000, 0);
    for (std::size_t i = 0; i < processed.size(); ++i) {
        const auto work = [&, i] {
            const std::lock_guard lock(mutex);
            ++processed[i];
        };
        device_.submit({i % 7 == 0 ? aLong(work) : aShort(work)});
    }
    drain();
    EXPECT_THAT(processed, testing::Each(1));
}

TEST_F(RequestSchedulerTest, StopsThreadsAfterTheirCurrentRequests) {
    start(3);
    Gate begun;
    Gate release;
    bool isDone = false;
    bool isForgotten = true;
    device_.submit({aLong([&] {
        begun.open();
        release.await();
        isDone = true;
    })});
    begun.await();
    scheduler_->stop();
    device_.submit({aShort([&] { isForgotten = false; })});
    release.open();
    stop();
    EXPECT_TRUE(isDone);
    EXPECT_TRUE(isForgotten);
}

TEST_F(RequestSchedulerTest, EndsAllThreadsWithTheDevice) {
    start(3);
    device_.end(); // as the kernel does after an unmount; one thread detects it
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
    EXPECT_EQ(scheduler_->drain(forever), Drained::Yes);
}

} // namespace

} // namespace storage::tests
