#include "host/mount/SparseMap.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>
#include <set>
#include <vector>

namespace storage::tests {

namespace {

using host::endOfPages;
using host::PageRange;
using host::SparseMap;
using State = SparseMap::State;

bool isSame(const SparseMap::Extent& left, const SparseMap::Extent& right) {
    return left.first == right.first && left.stored == right.stored && left.count == right.count &&
           left.state == right.state;
}

std::vector<SparseMap::Extent> extentsOf(const SparseMap& map) {
    std::vector<SparseMap::Extent> extents;
    map.forEachIn({0, endOfPages}, [&](const SparseMap::Extent& extent) { extents.push_back(extent); });
    return extents;
}

/// Random changes of a map and of its model, a vector of pages.
class SparseMapModelTest : public testing::TestWithParam<unsigned> {
protected:
    static constexpr std::uint64_t filePages = 60;
    static constexpr int steps = 4000;

    struct Page {
        bool exists = false;
        State state = State::Written;
        int stamp = 0; ///< the last stored value
    };

    std::uint64_t upTo(std::uint64_t most) {
        return std::uniform_int_distribution<std::uint64_t>(0, most)(random_);
    }
    PageRange anyRange() {
        const std::uint64_t first = upTo(filePages - 1);
        return {first,
                first + 1 + upTo(std::min<std::uint64_t>(filePages - first - 1, upTo(1) == 0 ? 3 : 20))};
    }

    void step();
    void compare() const;

    SparseMap map_;
    std::vector<Page> model_ = std::vector<Page>(filePages);
    std::vector<int> storage_; ///< stamps of the stored pages

private:
    void place();
    void write();
    void remove();
    void removeReserved();
    void compact();

    std::mt19937 random_{GetParam()};
    int stamp_ = 0;
};

void SparseMapModelTest::place() {
    const PageRange range = anyRange();
    const State state = upTo(2) == 0 ? State::Reserved : State::Written;
    auto placement = map_.place(range, state);
    ++stamp_;
    placement.forEach([&](const SparseMap::Extent& extent) {
        for (std::uint64_t i = 0; i < extent.count; ++i) {
            ASSERT_LE(extent.stored + i, storage_.size()) << "a gap in the storage";
            storage_.resize(std::max<std::size_t>(storage_.size(), extent.stored + i + 1));
            storage_[extent.stored + i] = stamp_;
            Page& page = model_[extent.first + i];
            ASSERT_FALSE(page.exists);
            page = {true, state, stamp_};
        }
    });
    if (upTo(5) == 0) { // the storage fails
        for (Page& page : model_) {
            page = page.stamp == stamp_ ? Page{} : page;
        }
        return;
    }
    map_.add(std::move(placement));
    ASSERT_EQ(map_.holesIn(range), 0U);
}

void SparseMapModelTest::write() {
    const PageRange range = anyRange();
    map_.splitAt(range.first);
    map_.splitAt(range.end);
    map_.markWritten(range);
    for (std::uint64_t page = range.first; page < range.end; ++page) {
        model_[page].state = State::Written;
    }
}

void SparseMapModelTest::remove() {
    PageRange range = anyRange();
    if (upTo(3) == 0) {
        range.end = endOfPages;
    }
    const std::uint64_t end = std::min(range.end, filePages);
    const std::size_t most = upTo(3);
    map_.splitAt(range.end);
    const std::uint64_t left = map_.remove(range, most);
    ASSERT_GE(left, range.first);
    ASSERT_LE(left, range.end);
    std::size_t extents = 0;
    map_.forEachIn({range.first, left}, [&](const SparseMap::Extent&) { ++extents; });
    ASSERT_EQ(left == range.first, extents == 0);
    for (std::uint64_t page = left; page < end; ++page) {
        model_[page] = {};
    }
    // An extent that `splitAt` has cut stays cut unless it is removed, so the remainder is removed too.
    if (left != range.first) {
        map_.remove({range.first, range.end}, filePages);
        for (std::uint64_t page = range.first; page < end; ++page) {
            model_[page] = {};
        }
    }
}

void SparseMapModelTest::removeReserved() {
    const PageRange range = anyRange();
    map_.removeReserved(range);
    for (std::uint64_t page = range.first; page < range.end; ++page) {
        model_[page] = model_[page].state == State::Reserved ? Page{} : model_[page];
    }
}

/// Copies the file, as `FileContents` does to free slack. Checks only the copy.
void SparseMapModelTest::compact() {
    const auto extents = extentsOf(map_);
    SparseMap copy;
    std::vector<int> stored;
    for (const auto& extent : extents) {
        copy.append(extent.first, extent.count, extent.state);
        for (std::uint64_t i = 0; i < extent.count; ++i) {
            stored.push_back(storage_[extent.stored + i]);
        }
    }
    ASSERT_EQ(copy.storedEnd(), stored.size());
    ASSERT_EQ(copy.pages(), stored.size());
    std::size_t number = 0;
    copy.forEachIn({0, endOfPages}, [&](const SparseMap::Extent& extent) {
        for (std::uint64_t i = 0; i < extent.count; ++i, ++number) {
            const Page& page = model_[extent.first + i];
            ASSERT_TRUE(page.exists && page.state == extent.state && page.stamp == stored[number]);
        }
    });
}

void SparseMapModelTest::compare() const {
    std::set<std::uint64_t> stored;
    std::uint64_t page = 0;
    const auto extents = extentsOf(map_);
    for (std::size_t i = 0; i < extents.size(); ++i) {
        const SparseMap::Extent& extent = extents[i];
        ASSERT_GT(extent.count, 0U);
        ASSERT_GE(extent.first, page);
        for (; page < extent.first; ++page) {
            ASSERT_FALSE(model_[page].exists) << page;
        }
        for (std::uint64_t each = 0; each < extent.count; ++each, ++page) {
            ASSERT_TRUE(model_[page].exists) << page;
            ASSERT_EQ(model_[page].state, extent.state) << page;
            ASSERT_EQ(storage_[extent.stored + each], model_[page].stamp) << page;
            ASSERT_TRUE(stored.insert(extent.stored + each).second) << "stored twice";
            ASSERT_LT(extent.stored + each, map_.storedEnd());
        }
        const bool isMerged = i == 0 || extents[i - 1].end() != extent.first ||
                              extents[i - 1].stored + extents[i - 1].count != extent.stored ||
                              extents[i - 1].state != extent.state;
        ASSERT_TRUE(isMerged) << page;
    }
    for (; page < filePages; ++page) {
        ASSERT_FALSE(model_[page].exists) << page;
    }
    ASSERT_EQ(map_.pages(), stored.size());
    ASSERT_EQ(map_.extents(), extents.size());
    ASSERT_LE(map_.storedEnd(), filePages) << "free pages are not reused";
    const bool isWritten =
        std::ranges::all_of(extents, [](const auto& extent) { return extent.state == State::Written; });
    const bool isInOrder =
        std::ranges::all_of(extents, [](const auto& extent) { return extent.stored == extent.first; });
    for (std::uint64_t pages = 0; pages <= filePages; ++pages) {
        const bool isWhole = stored.size() == pages && (pages == 0 || extents.back().end() == pages);
        ASSERT_EQ(map_.isDense(pages), isWhole && isWritten && isInOrder) << pages;
    }
}

void SparseMapModelTest::step() {
    switch (upTo(5)) {
    case 0:
        write();
        break;
    case 1:
        remove();
        break;
    case 2:
        removeReserved();
        break;
    case 3:
        compact();
        break;
    default:
        place();
    }
}

TEST_P(SparseMapModelTest, AgreesWithAVectorOfPages) {
    for (int i = 0; i < steps && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(i));
        step();
        compare();
    }
}

INSTANTIATE_TEST_SUITE_P(WithSeed, SparseMapModelTest, testing::Values(1U, 2U, 3U, 4U, 5U));

TEST(SparseMapTest, FindsTheExtentFromAPage) {
    SparseMap map(3);
    map.add(map.place({10, 12}, State::Reserved));
    EXPECT_TRUE(isSame(map.extentFrom(0).value(), {0, 0, 3, State::Written}));
    EXPECT_TRUE(isSame(map.extentFrom(2).value(), {2, 2, 1, State::Written}));
    EXPECT_TRUE(isSame(map.extentFrom(3).value(), {10, 3, 2, State::Reserved}));
    EXPECT_TRUE(isSame(map.extentFrom(11).value(), {11, 4, 1, State::Reserved}));
    EXPECT_FALSE(map.extentFrom(12));
    EXPECT_FALSE(map.extentFrom(endOfPages));
}

TEST(SparseMapTest, HandlesTheLastPages) {
    constexpr std::uint64_t last = (1ULL << 63U) / host::pageSize - 1;
    SparseMap map;
    map.add(map.place({last, last + 1}, State::Written));
    EXPECT_EQ(map.holesIn({0, last + 1}), last);
    EXPECT_EQ(map.storedEnd(), 1U);
    EXPECT_EQ(map.remove({0, endOfPages}, 10), 0U);
    EXPECT_TRUE(map.isDense(0));
}

} // namespace

} // namespace storage::tests
