#include "inmemoryprovider/filesystem/PathIndex.h"

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::path_index_test {
namespace {

using Map = std::map<InMemoryEntryPath, int>;
using Index = PathIndex<Map::iterator>;

constexpr std::size_t smallestTable = 32;

std::u16string nameOf(std::size_t number) {
    std::u16string name = u"/a folder/";
    for (const char digit : std::to_string(number)) {
        name += static_cast<char16_t>(digit);
    }
    return name;
}

/// A map and the index of all its elements.
class PathIndexTest : public testing::Test {
protected:
    PathIndexTest() { index.build(map.begin(), map.end(), map.size()); }

    void add(const std::u16string& name) {
        const auto [position, added] = map.try_emplace(InMemoryEntryPath(name), 0);
        ASSERT_TRUE(added);
        index.insert(position);
    }

    void remove(const std::u16string& name) {
        const auto position = map.find(name);
        ASSERT_NE(position, map.end());
        index.erase(position);
        map.erase(position);
    }

    /// Checks that the index finds exactly the elements that the map finds.
    testing::AssertionResult findsOf(const std::vector<std::u16string>& names) const {
        for (const auto& name : names) {
            const auto inMap = map.find(name);
            const auto inIndex = index.find(name);
            const bool isRight =
                inMap == map.end() ? !inIndex : inIndex && Map::const_iterator(*inIndex) == inMap;
            if (!isRight) {
                return testing::AssertionFailure() << testing::PrintToString(name)
                                                   << (inMap == map.end() ? " is found" : " is not found");
            }
        }
        if (index.size() != map.size()) {
            return testing::AssertionFailure() << "holds " << index.size() << " of " << map.size();
        }
        return testing::AssertionSuccess();
    }

    Map map;
    Index index;
};

std::vector<std::u16string> namesUpTo(std::size_t count) {
    std::vector<std::u16string> names;
    for (std::size_t number = 0; number < count; ++number) {
        names.push_back(nameOf(number));
    }
    return names;
}

/// Names with their first slots among the last two of the smallest table (upper bits of the hash). Together
/// they form one probe sequence that wraps around.
std::vector<std::u16string> namesOfLastHomes(std::size_t count) {
    std::vector<std::u16string> names;
    for (std::size_t number = 0; names.size() < count; ++number) {
        const auto name = nameOf(number);
        if (static_cast<std::uint32_t>(hashOf(name)) >= (smallestTable - 2) << 27U) {
            names.push_back(name);
        }
    }
    return names;
}

TEST_F(PathIndexTest, IsAbsentUntilBuiltAndAfterReset) {
    EXPECT_FALSE(Index());
    EXPECT_TRUE(index);
    add(u"/a");
    index.reset();
    EXPECT_FALSE(index);
    EXPECT_EQ(index.size(), 0U);
}

TEST_F(PathIndexTest, FindsNothingWhenEmpty) {
    EXPECT_EQ(index.find(u"/a"), std::nullopt);
    EXPECT_EQ(index.find({}), std::nullopt);
}

TEST_F(PathIndexTest, DistinguishesAPathFromItsPrefixes) {
    const std::vector<std::u16string> names{u"", u"/", u"a", u"/a", u"/aa", u"/aa/a", u"/aa//a"};
    for (const auto& name : names) {
        EXPECT_TRUE(findsOf(names));
        add(name);
    }
    EXPECT_TRUE(findsOf(names));
}

TEST_F(PathIndexTest, FindsTheOthersOfAWrappedProbeSequenceAfterAnErasure) {
    const auto names = namesOfLastHomes(12);
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        auto order = names;
        std::shuffle(order.begin(), order.end(), random);
        for (const auto& name : order) {
            add(name);
            ASSERT_TRUE(findsOf(names)) << "round " << round;
        }
        std::shuffle(order.begin(), order.end(), random);
        for (const auto& name : order) {
            remove(name);
            ASSERT_TRUE(findsOf(names)) << "round " << round;
        }
    }
}

TEST_F(PathIndexTest, KeepsOtherElementsAroundTheEndOfTheTable) {
    auto names = namesOfLastHomes(6);
    for (std::size_t number = 1'000'000; names.size() < 24; ++number) {
        names.push_back(nameOf(number)); // with any home slot, including the first slots of the table
    }
    std::mt19937 random(2);
    for (int step = 0; step < 20'000; ++step) {
        const auto& name = names[random() % names.size()];
        map.find(name) == map.end() ? add(name) : remove(name);
        ASSERT_TRUE(findsOf(names)) << "step " << step;
    }
}

TEST_F(PathIndexTest, AgreesWithTheMapOnManyRandomSets) {
    std::mt19937 random(3);
    for (int set = 0; set < 300; ++set) {
        std::vector<std::u16string> names;
        const std::size_t count = 1 + random() % 120;
        for (std::size_t i = 0; i < count; ++i) {
            names.push_back(nameOf(1000 * static_cast<std::size_t>(set) + i));
        }
        for (std::size_t step = 0; step < 4 * count; ++step) {
            const auto& name = names[random() % count];
            map.find(name) == map.end() ? add(name) : remove(name);
        }
        ASSERT_TRUE(findsOf(names)) << "set " << set;
        while (!map.empty()) {
            remove(map.begin()->first.string());
        }
        ASSERT_TRUE(findsOf(names)) << "set " << set;
    }
}

bool isPowerOfTwo(std::size_t size) {
    return (size & (size - 1)) == 0;
}

/// Tables are doubled at three quarters of a power of two, and halved at a power of two.
bool isNearAResizing(std::size_t size) {
    for (const std::size_t near : {size - 1, size, size + 1}) {
        if (isPowerOfTwo(near) || (near % 3 == 0 && isPowerOfTwo(near / 3))) {
            return true;
        }
    }
    return false;
}

TEST_F(PathIndexTest, KeepsAllElementsWhileItGrowsAndShrinks) {
    const auto names = namesUpTo(1600);
    const auto expectSound = [&] {
        if (isNearAResizing(map.size())) {
            ASSERT_TRUE(findsOf(names)) << map.size();
        }
    };
    for (const auto& name : names) {
        add(name);
        expectSound();
    }
    for (const auto& name : names) {
        remove(name);
        expectSound();
    }
    EXPECT_TRUE(index);
}

TEST(PathIndexGrowthTest, CanBeBuiltWithAnyNumberOfElementsAndGrows) {
    for (const std::size_t count : {0U, 1U, 16U, 23U, 24U, 25U, 47U, 48U, 49U, 95U, 96U, 97U, 383U, 384U,
                                    385U, 768U, 769U, 1000U, 4000U}) {
        Map map;
        for (const auto& name : namesUpTo(count)) {
            map.try_emplace(InMemoryEntryPath(name), 0);
        }
        Index index;
        index.build(map.begin(), map.end(), map.size());
        ASSERT_TRUE(index);
        index.insert(map.try_emplace(InMemoryEntryPath(u"/one more"), 0).first);
        EXPECT_EQ(index.size(), count + 1);
        for (auto position = map.begin(); position != map.end(); ++position) {
            ASSERT_TRUE(index.find(position->first.view())) << count;
            EXPECT_EQ(*index.find(position->first.view()), position) << count;
        }
        EXPECT_EQ(index.find(u"/none"), std::nullopt) << count;
    }
}

TEST_F(PathIndexTest, KeepsAllElementsInManySegments) {
    constexpr std::size_t most = 20 * Index::segmentSize;
    const auto names = namesUpTo(most);
    for (int round = 0; round < 2; ++round) {
        for (const auto& name : names) {
            add(name);
            if (map.size() % 997 == 0) {
                ASSERT_TRUE(findsOf(names)) << map.size();
            }
        }
        for (const auto& name : names) {
            remove(name);
            if (map.size() % 997 == 0) {
                ASSERT_TRUE(findsOf(names)) << map.size();
            }
        }
    }
}

TEST_F(PathIndexTest, InsertsAndErasesInManySegmentsAtRandom) {
    constexpr std::size_t most = 9 * Index::segmentSize;
    const auto names = namesUpTo(most);
    std::mt19937 random(4);
    for (std::size_t step = 0; step < 12 * most; ++step) {
        const auto& name = names[random() % most];
        map.find(name) == map.end() ? add(name) : remove(name);
        if (step % 3001 == 0) {
            ASSERT_TRUE(findsOf(names)) << "step " << step;
        }
    }
}

/// A position that counts how often one is copied.
struct CountedPosition {
    CountedPosition() = default;
    CountedPosition(Map::iterator element) : iterator(element) {} // NOLINT(google-explicit-constructor)
    CountedPosition(const CountedPosition& other) : iterator(other.iterator) { ++copies; }
    CountedPosition& operator=(const CountedPosition& other) {
        iterator = other.iterator;
        ++copies;
        return *this;
    }
    ~CountedPosition() = default;

    auto* operator->() const { return &*iterator; }
    CountedPosition& operator++() {
        ++iterator;
        return *this;
    }
    bool operator==(const CountedPosition& other) const { return iterator == other.iterator; }

    Map::iterator iterator{};
    static inline std::size_t copies = 0;
};

/// Rehashing a table of all elements in one piece would copy each of their positions.
TEST(PathIndexGrowthTest, CopiesAtMostAFewSegmentsPerInsertionOrRemoval) {
    constexpr std::size_t most = 100 * Index::segmentSize;
    constexpr std::size_t bound = 16 * Index::segmentSize;
    Map map;
    PathIndex<CountedPosition> index;
    index.build(map.begin(), map.end(), 0);
    std::size_t worst = 0;
    const auto count = [&](const auto& operation) {
        const std::size_t before = CountedPosition::copies;
        operation();
        worst = std::max(worst, CountedPosition::copies - before);
    };
    const auto names = namesUpTo(most);
    for (const auto& name : names) {
        const auto position = map.try_emplace(InMemoryEntryPath(name), 0).first;
        count([&] { index.insert(position); });
    }
    EXPECT_EQ(index.size(), most);
    for (const auto& name : names) {
        const auto position = map.find(name);
        count([&] { index.erase(position); });
        map.erase(position);
    }
    EXPECT_EQ(index.size(), 0U);
    EXPECT_LT(worst, bound);
}

/// A position that counts how many exist: one in each slot of the tables.
struct LivePosition {
    LivePosition() { ++live; }
    LivePosition(Map::iterator element) : iterator(element) { ++live; } // NOLINT(google-explicit-constructor)
    LivePosition(const LivePosition& other) : iterator(other.iterator) { ++live; }
    LivePosition& operator=(const LivePosition&) = default;
    ~LivePosition() { --live; }

    auto* operator->() const { return &*iterator; }
    LivePosition& operator++() {
        ++iterator;
        return *this;
    }
    bool operator==(const LivePosition& other) const { return iterator == other.iterator; }

    Map::iterator iterator{};
    static inline std::size_t live = 0;
};

TEST(PathIndexGrowthTest, FreesItsSegmentsAsElementsAreRemoved) {
    constexpr std::size_t most = 50 * Index::segmentSize;
    Map map;
    PathIndex<LivePosition> index;
    index.build(map.begin(), map.end(), 0);
    const auto names = namesUpTo(most);
    for (const auto& name : names) {
        index.insert(map.try_emplace(InMemoryEntryPath(name), 0).first);
    }
    EXPECT_GE(LivePosition::live, most);
    for (const auto& name : names) {
        const auto position = map.find(name);
        index.erase(position);
        map.erase(position);
    }
    EXPECT_EQ(LivePosition::live, smallestTable);
}

TEST_F(PathIndexTest, CanBeRebuilt) {
    add(u"/old");
    map.clear();
    map.try_emplace(InMemoryEntryPath(u"/new"), 0);
    index.build(map.begin(), map.end(), map.size());
    EXPECT_TRUE(findsOf({u"/old", u"/new"}));
}

TEST(PathIndexSegmentTest, TellsPathsWithEqualHashesApart) {
    Map map;
    const auto first = map.try_emplace(InMemoryEntryPath(u"/first"), 0).first;
    const auto second = map.try_emplace(InMemoryEntryPath(u"/second"), 0).first;
    PathIndexSegment<Map::iterator> segment;
    ASSERT_TRUE(segment.makeTable(map.size()));
    constexpr std::uint32_t hash = 7;
    segment.insert(first, hash);
    EXPECT_EQ(segment.find(u"/second", hash), std::nullopt);
    segment.insert(second, hash);
    EXPECT_EQ(segment.find(u"/first", hash), first);
    EXPECT_EQ(segment.find(u"/second", hash), second);
    segment.erase(first, hash);
    EXPECT_EQ(segment.find(u"/first", hash), std::nullopt);
    EXPECT_EQ(segment.find(u"/second", hash), second);
}

} // namespace
} // namespace storage::inmemoryprovider::path_index_test
