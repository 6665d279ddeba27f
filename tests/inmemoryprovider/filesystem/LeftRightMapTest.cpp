#include "inmemoryprovider/filesystem/LeftRightMap.h"

#include "tests/support/Processors.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sched.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace storage::inmemoryprovider::left_right_map_test {
namespace {

using Map = LeftRightMap<int, std::shared_ptr<int>>;

void insert(Map& map, int key, const std::shared_ptr<int>& value) {
    map.insert(Map::prepare(key, value));
}

TEST(LeftRightMap, FindsNothingWhenEmpty) {
    const Map map;
    EXPECT_EQ(map.find(1), nullptr);
    EXPECT_EQ(map.findAsWriter(1), nullptr);
}

TEST(LeftRightMap, FindsInsertedElementsInBothCopies) {
    Map map;
    const auto one = std::make_shared<int>(1);
    const auto two = std::make_shared<int>(2);
    // Each change publishes the other copy, so after the second change both copies have been checked.
    insert(map, 1, one);
    EXPECT_EQ(map.find(1), one);
    insert(map, 2, two);
    EXPECT_EQ(map.find(1), one);
    EXPECT_EQ(*map.findAsWriter(1), one);
    EXPECT_EQ(*map.findAsWriter(2), two);
}

TEST(LeftRightMap, KeepsAnExistingValue) {
    Map map;
    const auto first = std::make_shared<int>(1);
    insert(map, 1, first);
    insert(map, 1, std::make_shared<int>(2));
    EXPECT_EQ(map.find(1), first);
    insert(map, 2, first);
    EXPECT_EQ(map.find(1), first);
}

TEST(LeftRightMap, ReturnsTheErasedValue) {
    Map map;
    auto value = std::make_shared<int>(1);
    const std::weak_ptr<int> observer = value;
    insert(map, 1, value);
    value.reset();
    auto erased = map.erase(1).value();
    EXPECT_EQ(*erased, 1);
    EXPECT_EQ(map.find(1), nullptr);
    EXPECT_EQ(erased.use_count(), 1);
    erased.reset();
    EXPECT_TRUE(observer.expired());
}

TEST(LeftRightMap, ErasingAnAbsentKeyReturnsNoElement) {
    Map map;
    insert(map, 1, std::make_shared<int>(1));
    EXPECT_EQ(map.erase(2).value(), nullptr);
    EXPECT_NE(map.find(1), nullptr);
}

TEST(LeftRightMap, AnErasedElementCanBeInsertedAgain) {
    Map map;
    const auto value = std::make_shared<int>(1);
    insert(map, 1, value);
    map.insert(map.erase(1));
    EXPECT_EQ(map.find(1), value);
    EXPECT_EQ(*map.findAsWriter(1), value);
}

TEST(LeftRightMap, InsertingAnEmptyElementChangesNothing) {
    Map map;
    insert(map, 1, std::make_shared<int>(1));
    map.insert(map.erase(2));
    EXPECT_EQ(map.find(2), nullptr);
    EXPECT_NE(map.find(1), nullptr);
}

TEST(LeftRightMap, ADiscardedPreparedElementChangesNothing) {
    Map map;
    { const auto dropped = Map::prepare(1, std::make_shared<int>(1)); }
    EXPECT_EQ(map.find(1), nullptr);
}

/// A key with a comparison that can be blocked, to keep a reader inside a lookup.
struct HeldKey {
    int value;
    const std::function<void()>* onCompare = nullptr;

    bool operator<(const HeldKey& other) const {
        for (const auto* hook : {onCompare, other.onCompare}) {
            if (hook != nullptr) {
                (*hook)();
            }
        }
        return value < other.value;
    }
};

TEST(LeftRightMap, ReadersContinueWhileAWriterWaitsForOneReader) {
    LeftRightMap<HeldKey, std::shared_ptr<int>> map;
    map.insert(map.prepare(HeldKey{1}, std::make_shared<int>(1)));

    std::atomic<bool> inside = false;
    std::atomic<bool> leave = false;
    const std::function<void()> hold = [&] {
        inside = true;
        inside.notify_all();
        leave.wait(false);
    };
    std::thread heldReader([&] { EXPECT_NE(map.find(HeldKey{1, &hold}), nullptr); });
    inside.wait(false);

    std::atomic<bool> written = false;
    std::thread writer([&] {
        map.insert(map.prepare(HeldKey{2}, std::make_shared<int>(2)));
        written = true;
    });
    // The writer publishes the new value before it waits for the blocked reader; other readers find the new
    // value.
    while (map.find(HeldKey{2}) == nullptr) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(written);
    EXPECT_NE(map.find(HeldKey{1}), nullptr);

    leave = true;
    leave.notify_all();
    heldReader.join();
    writer.join();
    EXPECT_TRUE(written);
}

/// A reader in its own thread, which is inside a lookup during the object's lifetime.
class HeldReader {
public:
    explicit HeldReader(const LeftRightMap<HeldKey, std::shared_ptr<int>>& map)
        : reading_([this, &map] {
              const std::function<void()> hold = [this] {
                  inside_ = true;
                  inside_.notify_all();
                  leave_.wait(false);
              };
              EXPECT_NE(map.find(HeldKey{1, &hold}), nullptr);
          }) {
        inside_.wait(false);
    }
    HeldReader(const HeldReader&) = delete;
    HeldReader& operator=(const HeldReader&) = delete;
    ~HeldReader() {
        leave_ = true;
        leave_.notify_all();
        reading_.join();
    }

private:
    std::atomic<bool> inside_ = false;
    std::atomic<bool> leave_ = false;
    std::thread reading_;
};

/// A writer that waited for new readers too would never finish, because there is always one.
TEST(LeftRightMap, AWriterFinishesWhileReadersOverlap) {
    constexpr std::size_t processors = 1; // so that all readers share the counters of one stripe
    LeftRightMap<HeldKey, std::shared_ptr<int>> map(processors);
    map.insert(map.prepare(HeldKey{1}, std::make_shared<int>(1)));
    auto reader = std::make_unique<HeldReader>(map);
    std::atomic<bool> written = false;
    std::thread writer([&] {
        map.insert(map.prepare(HeldKey{2}, std::make_shared<int>(2)));
        written = true;
    });
    while (!written) {
        auto next = std::make_unique<HeldReader>(map);
        reader = std::move(next); // the previous reader leaves
    }
    writer.join();
    EXPECT_NE(map.find(HeldKey{2}), nullptr);
}

TEST(LeftRightMap, WaitsForReadersOfAllStripesOfAManyCoreMachine) {
    for (const std::size_t processors : {63U, 64U, 65U, 1000U}) {
        Map map(processors);
        map.insert(Map::prepare(1, std::make_shared<int>(1)));
        EXPECT_NE(map.find(1), nullptr);
    }
}

/// Pins the calling thread to one processor with a real-time priority. Returns false without that privilege.
bool runInRealTime(int processor, int priority) {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(processor, &processors);
    const sched_param parameters{.sched_priority = priority};
    return pthread_setaffinity_np(pthread_self(), sizeof processors, &processors) == 0 &&
           pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0;
}

/// A writer that only spins would never yield the processor to the reader for which it waits.
TEST(LeftRightMap, AWriterOfHigherPriorityYieldsTheProcessorToItsReader) {
    const int processor = sched_getcpu();
    std::atomic<bool> mayRunInRealTime = true;
    std::thread([&] { mayRunInRealTime = runInRealTime(processor, 1); }).join();
    if (!mayRunInRealTime) {
        GTEST_SKIP() << "no right to run under SCHED_FIFO";
    }
    LeftRightMap<HeldKey, std::shared_ptr<int>> map;
    map.insert(map.prepare(HeldKey{1}, std::make_shared<int>(1)));
    std::atomic<bool> writerWaits = false;
    std::atomic<bool> inside = false;
    std::thread writer([&] {
        runInRealTime(processor, 2);
        writerWaits = true;
        writerWaits.notify_all();
        inside.wait(false);
        map.insert(map.prepare(HeldKey{2}, std::make_shared<int>(2)));
    });
    std::thread reader([&] {
        writerWaits.wait(false);
        runInRealTime(processor, 1); // from now on, this thread runs only while the writer sleeps
        const std::function<void()> wakeWriter = [&] {
            inside = true;
            inside.notify_all(); // the writer preempts this thread at once
        };
        EXPECT_NE(map.find(HeldKey{1, &wakeWriter}), nullptr);
    });
    reader.join();
    writer.join();
    EXPECT_NE(map.find(HeldKey{2}), nullptr);
}

TEST(LeftRightMap, AWriterSleepsUntilTheLastReaderOnAnyProcessorHasEnded) {
    for (int round = 0; round < 20; ++round) {
        LeftRightMap<HeldKey, std::shared_ptr<int>> map;
        map.insert(map.prepare(HeldKey{1}, std::make_shared<int>(1)));
        std::atomic<int> inside = 0;
        std::array<std::atomic<bool>, 2> leave{};
        std::atomic<bool> written = false;
        const auto read = [&](int processor, std::atomic<bool>& mayLeave) {
            tests::runOn(processor); // if there is only one, both readers use it
            const std::function<void()> hold = [&] {
                ++inside;
                mayLeave.wait(false);
            };
            EXPECT_NE(map.find(HeldKey{1, &hold}), nullptr);
        };
        std::thread first([&] { read(0, leave[0]); });
        std::thread second([&] { read(1, leave[1]); });
        while (inside < 2) {
            std::this_thread::yield();
        }
        std::thread writer([&] {
            map.insert(map.prepare(HeldKey{2}, std::make_shared<int>(2)));
            written = true;
        });
        while (map.find(HeldKey{2}) == nullptr) {
            std::this_thread::yield();
        }
        leave[0] = true;
        leave[0].notify_all();
        first.join();
        EXPECT_FALSE(written);
        leave[1] = true;
        leave[1].notify_all();
        second.join();
        writer.join();
    }
}

TEST(LeftRightMap, ReadersFindEveryUnchangedKey) {
    Map map;
    constexpr int fixedKeys = 50;
    for (int key = 0; key < fixedKeys; ++key) {
        insert(map, 2 * key, std::make_shared<int>(2 * key));
    }
    std::atomic<bool> stop = false;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 3; ++reader) {
        readers.emplace_back([&, reader] {
            for (int i = reader; !stop; ++i) {
                const int key = 2 * (i % fixedKeys);
                const auto fixed = map.find(key);
                ASSERT_NE(fixed, nullptr);
                ASSERT_EQ(*fixed, key);
                const auto changing = map.find(key + 1);
                ASSERT_TRUE(changing == nullptr || *changing == key + 1);
            }
        });
    }
    for (int i = 0; i < 1000; ++i) {
        const int key = 2 * (i % fixedKeys) + 1;
        insert(map, key, std::make_shared<int>(key));
        EXPECT_EQ(*map.erase(key).value(), key);
    }
    stop = true;
    for (auto& reader : readers) {
        reader.join();
    }
}

} // namespace
} // namespace storage::inmemoryprovider::left_right_map_test
