#include "inmemoryprovider/filesystem/IndexedPathMap.h"
#include "inmemoryprovider/filesystem/PathIndex.h"
#include "tests/memory/FailingAllocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace storage::tests {
namespace {

using inmemoryprovider::IndexedPathMap;
using inmemoryprovider::InMemoryEntryPath;
using inmemoryprovider::PathIndex;

using Map = std::map<InMemoryEntryPath, int>;
using Index = PathIndex<Map::iterator>;
using IndexedMap = IndexedPathMap<int>;

constexpr std::size_t mostOfSmallestTable = 24;
constexpr std::size_t count = 120;

InMemoryEntryPath pathOf(std::size_t number) {
    return InMemoryEntryPath(u"/a folder with a long name/" +
                             std::u16string(1, static_cast<char16_t>(u'A' + number)));
}

Map mapOf(std::size_t size) {
    Map map;
    for (std::size_t number = 0; number < size; ++number) {
        map.try_emplace(pathOf(number), static_cast<int>(number));
    }
    return map;
}

Index indexOf(Map& map) {
    Index index;
    index.build(map.begin(), map.end(), map.size());
    return index;
}

void expectFindsAll(const Index& index, Map& map) {
    EXPECT_EQ(index.size(), map.size());
    for (auto position = map.begin(); position != map.end(); ++position) {
        ASSERT_TRUE(index.find(position->first.view()));
        EXPECT_EQ(*index.find(position->first.view()), position);
    }
}

TEST(IndexWithoutMemoryTest, IsNotBuiltAndCanBeBuiltLater) {
    auto map = mapOf(count);
    Index index;
    {
        const FailingAllocation failure(0);
        index.build(map.begin(), map.end(), map.size());
        EXPECT_TRUE(failure.happened());
    }
    EXPECT_FALSE(index);
    index.build(map.begin(), map.end(), map.size());
    ASSERT_TRUE(index);
    expectFindsAll(index, map);
}

TEST(IndexWithoutMemoryTest, IsAbsentWhenItCannotBeRebuilt) {
    auto map = mapOf(count);
    auto index = indexOf(map);
    const FailingAllocation failure(0);
    index.build(map.begin(), map.end(), map.size());
    EXPECT_FALSE(index);
}

TEST(IndexWithoutMemoryTest, IsDroppedWhenItCannotGrow) {
    auto map = mapOf(mostOfSmallestTable - 1);
    auto index = indexOf(map);
    index.insert(map.try_emplace(pathOf(mostOfSmallestTable), 0).first);
    ASSERT_TRUE(index);
    const auto oneTooMany = map.try_emplace(pathOf(mostOfSmallestTable + 1), 0).first;
    const FailingAllocation failure(0);
    index.insert(oneTooMany);
    EXPECT_TRUE(failure.happened());
    EXPECT_FALSE(index);
}

TEST(IndexWithoutMemoryTest, KeepsALargeTableWhenItCannotShrink) {
    auto map = mapOf(count);
    auto index = indexOf(map);
    {
        const FailingAllocation failure(0, FailingAllocation::Extent::FromThenOn);
        while (map.size() > 1) {
            index.erase(map.begin());
            map.erase(map.begin());
        }
        EXPECT_TRUE(failure.happened());
    }
    ASSERT_TRUE(index);
    expectFindsAll(index, map);
    for (std::size_t number = 0; number < count; ++number) {
        if (const auto [position, added] = map.try_emplace(pathOf(number), 0); added) {
            index.insert(position);
        }
    }
    expectFindsAll(index, map);
}

InMemoryEntryPath numberedPath(std::size_t number) {
    std::u16string text = u"/a folder with a long name/";
    for (const char digit : std::to_string(number)) {
        text += static_cast<char16_t>(digit);
    }
    return InMemoryEntryPath(text);
}

/// In each step, fails one allocation: the first, the second or the third.
TEST(IndexWithoutMemoryTest, KeepsAllElementsWhenNoSegmentCanBeAddedOrMerged) {
    constexpr std::size_t most = 5 * Index::segmentSize;
    for (std::size_t allowed = 0; allowed < 3; ++allowed) {
        Map map;
        Index index;
        index.build(map.begin(), map.end(), 0);
        std::size_t failures = 0;
        for (std::size_t number = 0; number < most; ++number) {
            const auto position = map.try_emplace(numberedPath(number), 0).first;
            const FailingAllocation failure(allowed);
            index.insert(position);
            failures += failure.happened() ? 1 : 0;
            if (!index) { // the segment could not grow
                index.build(map.begin(), map.end(), map.size());
            }
        }
        while (map.size() > 1) {
            const FailingAllocation failure(allowed);
            index.erase(map.begin());
            failures += failure.happened() ? 1 : 0;
            map.erase(map.begin());
        }
        EXPECT_GT(failures, 0U) << allowed;
        ASSERT_TRUE(index) << allowed;
        expectFindsAll(index, map);
    }
}

TEST(IndexWithoutMemoryTest, IsNotBuiltWhicheverSegmentCannotBeAllocated) {
    constexpr std::size_t most = 5 * Index::segmentSize;
    Map map;
    for (std::size_t number = 0; number < most; ++number) {
        map.try_emplace(numberedPath(number), 0);
    }
    for (std::size_t allowed = 0;; ++allowed) {
        Index index;
        bool happened = false;
        {
            const FailingAllocation failure(allowed);
            index.build(map.begin(), map.end(), map.size());
            happened = failure.happened();
        }
        EXPECT_EQ(static_cast<bool>(index), !happened) << allowed;
        if (!happened) {
            EXPECT_GE(allowed, 8U);
            expectFindsAll(index, map);
            break;
        }
    }
}

void expectHolds(const IndexedMap& map, std::size_t size) {
    EXPECT_EQ(static_cast<std::size_t>(std::distance(map.begin(), map.end())), size);
    for (std::size_t number = 0; number < count; ++number) {
        const auto found = map.find(pathOf(number).view());
        ASSERT_EQ(found != map.end(), number < size) << number;
        if (number < size) {
            EXPECT_EQ(found->second, static_cast<int>(number));
        }
    }
}

/// Adds elements one by one. For each, fails every allocation in turn until the insertion succeeds without a
/// failure.
TEST(IndexWithoutMemoryTest, KeepsTheMapCompleteWhicheverAllocationFails) {
    IndexedMap map;
    std::size_t survivals = 0;
    for (std::size_t number = 0; number < count; ++number) {
        const auto path = pathOf(number);
        for (std::size_t allowed = 0;; ++allowed) {
            bool happened = false;
            try {
                const FailingAllocation failure(allowed);
                map.tryEmplace(path, static_cast<int>(number));
                happened = failure.happened();
            } catch (const std::bad_alloc&) {
                expectHolds(map, number);
                continue;
            }
            expectHolds(map, number + 1);
            survivals += happened ? 1 : 0;
            if (!happened) {
                break;
            }
            // Removes it again, to test the failure of the next allocation.
            map.extract(map.find(path.view()));
        }
    }
    EXPECT_GT(survivals, 0U);
}

TEST(IndexWithoutMemoryTest, KeepsTheMapCompleteWhileNodesAreMoved) {
    std::vector<IndexedMap::node_type> nodes;
    for (auto map = mapOf(count); !map.empty();) {
        nodes.push_back(map.extract(map.begin()));
    }
    IndexedMap map;
    {
        const FailingAllocation failure(0, FailingAllocation::Extent::FromThenOn);
        for (auto& node : nodes) {
            EXPECT_TRUE(map.insert(std::move(node)).empty());
        }
        EXPECT_TRUE(failure.happened());
    }
    expectHolds(map, count);
    {
        const FailingAllocation failure(0, FailingAllocation::Extent::FromThenOn);
        for (std::size_t left = count; left > 0; --left) {
            nodes[left - 1] = map.extract(std::prev(map.end()));
        }
        for (auto& node : nodes) {
            EXPECT_TRUE(map.insert(std::move(node)).empty());
        }
    }
    expectHolds(map, count);
}

} // namespace
} // namespace storage::tests
