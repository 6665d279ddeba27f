#include "inmemoryprovider/filesystem/IndexedPathMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace storage::inmemoryprovider::indexed_path_map_test {
namespace {

using Value = std::shared_ptr<int>;
using Plain = std::map<InMemoryEntryPath, Value>;

/// Paths with long common prefixes, in order; the first one is empty.
std::vector<InMemoryEntryPath> pathsOf(std::size_t count) {
    std::vector<InMemoryEntryPath> paths{InMemoryEntryPath(u"")};
    for (std::size_t number = 1; number < count; ++number) {
        auto text = std::u16string(u"/a folder whose name is as long as that of its neighbours/");
        text += static_cast<char16_t>(u'a' + number / 26 % 26);
        text += static_cast<char16_t>(u'a' + number % 26);
        text.append(number / 676, u'z');
        paths.emplace_back(text);
    }
    return paths;
}

/// The map under test and a std::map as its model. Every operation is done on both.
class Pair {
public:
    void add(const InMemoryEntryPath& path) {
        auto value = std::make_shared<int>(++lastValue_);
        const bool isNew = plain_.try_emplace(path, value).second;
        tested_.tryEmplace(path, std::move(value));
        EXPECT_EQ(value == nullptr, isNew) << "a value that is not taken is left to the caller";
        lastAdded_ = isNew ? path : lastAdded_;
    }

    void remove(const InMemoryEntryPath& path) {
        const auto found = tested_.find(path.view());
        EXPECT_EQ(found == tested_.end(), plain_.erase(path) == 0);
        if (found != tested_.end()) {
            EXPECT_EQ(tested_.extract(found).key(), path);
        }
    }

    void removeLastAdded() { remove(lastAdded_); }

    void takeOutAndPutBack(const InMemoryEntryPath& path) {
        if (const auto found = tested_.find(path.view()); found != tested_.end()) {
            auto node = tested_.extract(found);
            EXPECT_EQ(tested_.find(path.view()), tested_.end());
            EXPECT_TRUE(tested_.insert(std::move(node)).empty());
        }
    }

    /// Moves the element from `from` to `to`, unless `to` exists.
    void rename(const InMemoryEntryPath& from, const InMemoryEntryPath& to) {
        const auto found = tested_.find(from.view());
        if (found == tested_.end() || plain_.contains(to)) {
            return;
        }
        auto node = tested_.extract(found);
        node.key() = to;
        EXPECT_TRUE(tested_.insert(std::move(node)).empty());
        auto plainNode = plain_.extract(from);
        plainNode.key() = to;
        plain_.insert(std::move(plainNode));
        lastAdded_ = to;
    }

    void releaseAndRefill() {
        auto released = tested_.release();
        EXPECT_EQ(released, plain_);
        EXPECT_TRUE(tested_.empty());
        while (!released.empty()) {
            EXPECT_TRUE(tested_.insert(released.extract(released.begin())).empty());
        }
    }

    void expectEqual(const std::vector<InMemoryEntryPath>& paths) const {
        EXPECT_EQ(tested_.empty(), plain_.empty());
        EXPECT_TRUE(std::equal(tested_.begin(), tested_.end(), plain_.begin(), plain_.end()));
        for (const auto& path : paths) {
            const auto found = tested_.find(path.view());
            const auto expected = plain_.find(path);
            ASSERT_EQ(found == tested_.end(), expected == plain_.end())
                << testing::PrintToString(path.string());
            if (expected != plain_.end()) {
                ASSERT_EQ(found->second, expected->second) << testing::PrintToString(path.string());
            }
        }
    }

private:
    IndexedPathMap<Value> tested_;
    Plain plain_;
    InMemoryEntryPath lastAdded_{u""};
    int lastValue_ = 0;
};

/// Adds all paths and removes them from the front, checking the map at every size.
void expectFilledAndEmptied(const std::vector<InMemoryEntryPath>& order) {
    Pair maps;
    for (const auto& path : order) {
        maps.add(path);
        maps.expectEqual(order);
    }
    for (const auto& path : order) {
        maps.remove(path);
        maps.expectEqual(order);
    }
}

constexpr std::size_t pastTwoDoublings = 110; // of the index: at 24, 48 and 96

TEST(IndexedPathMapTest, KeepsElementsAddedInAscendingOrder) {
    expectFilledAndEmptied(pathsOf(pastTwoDoublings));
}

TEST(IndexedPathMapTest, KeepsElementsAddedInDescendingOrder) {
    auto order = pathsOf(pastTwoDoublings);
    std::reverse(order.begin(), order.end());
    expectFilledAndEmptied(order);
}

TEST(IndexedPathMapTest, KeepsElementsAddedInRandomOrder) {
    std::mt19937 random(1);
    for (int round = 0; round < 5; ++round) {
        auto order = pathsOf(pastTwoDoublings);
        std::shuffle(order.begin(), order.end(), random);
        expectFilledAndEmptied(order);
    }
}

TEST(IndexedPathMapTest, AcceptsElementsAfterTheLastAddedWasRemoved) {
    const auto paths = pathsOf(60);
    Pair maps;
    for (const auto& path : paths) {
        maps.add(path);
        maps.removeLastAdded();
        maps.expectEqual(paths);
        maps.add(path);
        maps.expectEqual(paths);
    }
}

TEST(IndexedPathMapTest, ReturnsANodeWithATakenPath) {
    for (const std::size_t size : {2U, 40U}) {
        IndexedPathMap<Value> map;
        for (const auto& path : pathsOf(size)) {
            map.tryEmplace(path, std::make_shared<int>(1));
        }
        const auto taken = pathsOf(size).back();
        auto node = map.extract(map.find(taken.view()));
        const auto stays = std::make_shared<int>(2);
        map.tryEmplace(taken, Value(stays));
        const auto handedBack = map.insert(std::move(node));
        ASSERT_FALSE(handedBack.empty());
        EXPECT_EQ(*handedBack.mapped(), 1);
        EXPECT_EQ(map.find(taken.view())->second, stays);
        EXPECT_TRUE(map.insert({}).empty());
        EXPECT_EQ(static_cast<std::size_t>(std::distance(map.begin(), map.end())), size);
    }
}

/// Does one random operation on both.
void change(Pair& maps, const std::vector<InMemoryEntryPath>& paths, std::mt19937& random) {
    const auto& path = paths[random() % paths.size()];
    switch (random() % 12) {
    case 0:
        maps.removeLastAdded();
        break;
    case 1:
        maps.takeOutAndPutBack(path);
        break;
    case 2:
        maps.rename(path, paths[random() % paths.size()]);
        break;
    case 3:
    case 4:
    case 5:
    case 6:
        maps.remove(path);
        break;
    default:
        maps.add(path);
        break;
    }
}

TEST(IndexedPathMapTest, AgreesWithAPlainMapInRandomSequences) {
    std::mt19937 random(2);
    for (const std::size_t count : {14U, 16U, 18U, 26U, 34U, 52U, 70U, 150U, 400U}) {
        SCOPED_TRACE(count);
        const auto paths = pathsOf(count);
        Pair maps;
        for (int round = 0; round < 40; ++round) {
            for (std::size_t step = 0; step < 2 * count; ++step) {
                change(maps, paths, random);
            }
            maps.expectEqual(paths);
            if (round % 8 == 7) {
                maps.releaseAndRefill();
                maps.expectEqual(paths);
            }
        }
    }
}

TEST(IndexedPathMapTest, CanBeUsedAgainAfterItsElementsWereReleased) {
    for (const std::size_t size : {1U, 15U, 16U, 17U, 100U}) {
        IndexedPathMap<Value> map;
        const auto paths = pathsOf(size);
        for (const auto& path : paths) {
            map.tryEmplace(path, std::make_shared<int>(1));
        }
        EXPECT_EQ(map.release().size(), size);
        EXPECT_TRUE(map.empty());
        for (const auto& path : paths) {
            EXPECT_EQ(map.find(path.view()), map.end());
        }
        EXPECT_TRUE(map.release().empty());
        map.tryEmplace(paths.front(), std::make_shared<int>(2));
        EXPECT_EQ(*map.find(paths.front().view())->second, 2);
    }
}

} // namespace
} // namespace storage::inmemoryprovider::indexed_path_map_test
