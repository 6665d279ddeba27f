#include "inmemoryprovider/filesystem/LeftRightMap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider::left_right_map_test {
namespace {

using Map = LeftRightMap<int, std::shared_ptr<int>>;

void insert(Map& map, int key, const std::shared_ptr<int>& value) {
    map.insert(Map::prepare(key, value));
}

TEST(LeftRightMap, findsNothingWhenEmpty) {
    const Map map;
    EXPECT_EQ(map.find(1), nullptr);
    EXPECT_EQ(map.findAsWriter(1), nullptr);
}

TEST(LeftRightMap, findsWhatWasInsertedFromBothCopies) {
    Map map;
    const auto one = std::make_shared<int>(1);
    const auto two = std::make_shared<int>(2);
    // Each change publishes the other copy, so that after the second one both have been looked at.
    insert(map, 1, one);
    EXPECT_EQ(map.find(1), one);
    insert(map, 2, two);
    EXPECT_EQ(map.find(1), one);
    EXPECT_EQ(*map.findAsWriter(1), one);
    EXPECT_EQ(*map.findAsWriter(2), two);
}

TEST(LeftRightMap, keepsTheValueThatWasThereFirst) {
    Map map;
    const auto first = std::make_shared<int>(1);
    insert(map, 1, first);
    insert(map, 1, std::make_shared<int>(2));
    EXPECT_EQ(map.find(1), first);
    insert(map, 2, first);
    EXPECT_EQ(map.find(1), first);
}

TEST(LeftRightMap, handsTheErasedValueToTheCaller) {
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

TEST(LeftRightMap, erasingAnAbsentKeyGivesNothing) {
    Map map;
    insert(map, 1, std::make_shared<int>(1));
    EXPECT_EQ(map.erase(2).value(), nullptr);
    EXPECT_NE(map.find(1), nullptr);
}

TEST(LeftRightMap, anErasedElementCanBeInsertedAgain) {
    Map map;
    const auto value = std::make_shared<int>(1);
    insert(map, 1, value);
    map.insert(map.erase(1));
    EXPECT_EQ(map.find(1), value);
    EXPECT_EQ(*map.findAsWriter(1), value);
}

TEST(LeftRightMap, insertingAnElementThatIsNoneChangesNothing) {
    Map map;
    insert(map, 1, std::make_shared<int>(1));
    map.insert(map.erase(2));
    EXPECT_EQ(map.find(2), nullptr);
    EXPECT_NE(map.find(1), nullptr);
}

TEST(LeftRightMap, aPreparedInsertionThatIsDroppedChangesNothing) {
    Map map;
    { const auto dropped = Map::prepare(1, std::make_shared<int>(1)); }
    EXPECT_EQ(map.find(1), nullptr);
}

/// A key whose comparison can be stopped, to hold a reader inside a look-up.
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

TEST(LeftRightMap, readersGoOnWhileAWriterWaitsForOneReader) {
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
    // The new value is published before the writer waits for the held reader; other readers get to see it.
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

TEST(LeftRightMap, readersSeeEveryKeyThatNoWriterTouches) {
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
