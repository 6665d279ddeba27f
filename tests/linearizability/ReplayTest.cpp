// Handwritten histories: some are linearizable, others are not.

#include "tests/linearizability/OrderSearch.h"

#include "hostapi/storage/provider/ErrorCode.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

namespace storage::inmemoryprovider::tests {
namespace {

using provider::ErrorCode;
using provider::FolderEntry;
using provider::ReplacementPolicy;
using Kind = OperationKind;

const boost::posix_time::ptime stamped(boost::gregorian::date(2020, 1, 1));
const boost::posix_time::ptime set(boost::gregorian::date(2001, 2, 3));

const Outcome ok = {};
const Outcome exists = {.ending = {}, .exists = true};
const Outcome notFoundAtF = {.ending = {ErrorCode::NotFound, u"/f"}};
const Outcome alreadyAtF = {.ending = {ErrorCode::AlreadyExists, u"/f"}};

Outcome attributes(std::uint64_t size, const boost::posix_time::ptime& time) {
    return {.ending = {}, .size = size, .lastModified = time, .writable = true};
}

/// A history of a tree that initially contains "/f".
class OrderOfCallsTest : public testing::Test {
protected:
    OrderOfCallsTest() {
        history_.preparation = {{.kind = Kind::CreateFile, .path = u"/f"}};
        history_.tree[u"/"] = {.folder = true, .bytes = {}, .lastModified = stamped, .writable = true};
        addToFinalTree(u"/f");
    }

    void addToFinalTree(const std::u16string& path) {
        history_.tree[path] = {.folder = false, .bytes = {}, .lastModified = stamped, .writable = true};
    }

    void add(std::size_t thread, std::size_t begin, std::size_t end, const Call& call,
             const Outcome& outcome) {
        history_.calls.push_back({thread, call, outcome, begin, end});
    }

    bool isLinearizable() const { return OrderSearch(history_).succeeds(); }

    const Call createF_ = {.kind = Kind::CreateFile, .path = u"/f"};
    const Call removeF_ = {.kind = Kind::RemoveFile, .path = u"/f"};
    const Call askForF_ = {.kind = Kind::FileExists, .path = u"/f"};
    const Call askForG_ = {.kind = Kind::FileExists, .path = u"/g"};
    const Call describeF_ = {.kind = Kind::GetFileAttributes, .path = u"/f"};
    const Call stampF_ = {.kind = Kind::SetLastModified, .path = u"/f", .time = set};
    const Call moveFToG_ = {
        .kind = Kind::MoveFile, .path = u"/f", .target = u"/g", .policy = ReplacementPolicy::ReplaceExisting};
    History history_;
};

TEST_F(OrderOfCallsTest, AllowsAnyOrderOfOverlappingCalls) {
    add(0, 0, 3, removeF_, ok);
    add(1, 1, 2, askForF_, exists);
    history_.tree.erase(u"/f");
    EXPECT_TRUE(isLinearizable());
    history_.calls[1].outcome = ok;
    EXPECT_TRUE(isLinearizable());
}

TEST_F(OrderOfCallsTest, KeepsTheOrderOfCallsThatDoNotOverlap) {
    add(0, 0, 1, removeF_, ok);
    add(1, 2, 3, askForF_, exists);
    history_.tree.erase(u"/f");
    EXPECT_FALSE(isLinearizable());
}

TEST_F(OrderOfCallsTest, RejectsAMovedFileWithTwoPaths) {
    add(0, 0, 5, moveFToG_, ok);
    add(1, 1, 2, askForG_, exists);
    add(1, 3, 4, askForF_, exists);
    history_.tree.erase(u"/f");
    addToFinalTree(u"/g");
    EXPECT_FALSE(isLinearizable());
    history_.calls[2].outcome = ok;
    EXPECT_TRUE(isLinearizable());
}

TEST_F(OrderOfCallsTest, ComparesFailuresAndListings) {
    add(0, 0, 1, createF_, alreadyAtF);
    add(0, 2, 3, {.kind = Kind::ListAll, .path = u"/"},
        {.ending = {}, .listing = {FolderEntry(u"f", FolderEntry::EntryType::File)}});
    EXPECT_TRUE(isLinearizable());
    history_.calls[1].outcome.listing.clear();
    EXPECT_FALSE(isLinearizable());
}

TEST_F(OrderOfCallsTest, ComparesTheFinalTree) {
    add(0, 0, 1, removeF_, ok);
    EXPECT_FALSE(isLinearizable());
}

TEST_F(OrderOfCallsTest, DetectsLostBytes) {
    add(0, 0, 1, {.kind = Kind::OpenReadOnlyStream, .path = u"/f"}, ok);
    add(0, 2, 3, {.kind = Kind::StreamWrite, .data = "x"}, ok);
    EXPECT_FALSE(isLinearizable());
    history_.tree[u"/f"].bytes = "x";
    EXPECT_TRUE(isLinearizable());
}

TEST_F(OrderOfCallsTest, TakesEachAttributeFromOneMomentOfTheCall) {
    add(0, 0, 1, {.kind = Kind::OpenReadOnlyStream, .path = u"/f"}, ok);
    add(0, 2, 5, {.kind = Kind::StreamWrite, .data = "x"}, ok);
    add(1, 3, 4, describeF_, attributes(1, stamped));
    history_.tree[u"/f"].bytes = "x";
    EXPECT_TRUE(isLinearizable());
    history_.calls[2].outcome.size = 2;
    EXPECT_FALSE(isLinearizable());
}

TEST_F(OrderOfCallsTest, AllowsATimeToBeSetInASecondStep) {
    add(0, 0, 3, moveFToG_, ok);
    add(1, 1, 2, stampF_, ok);
    history_.tree.erase(u"/f");
    addToFinalTree(u"/g"); // the old file was found before the move and has the new time
    EXPECT_TRUE(isLinearizable());
    history_.calls[1].outcome = notFoundAtF;
    EXPECT_TRUE(isLinearizable());
}

TEST_F(OrderOfCallsTest, RequiresASetTimeToBeVisible) {
    add(0, 0, 1, stampF_, ok);
    add(1, 2, 3, describeF_, attributes(0, stamped));
    history_.tree[u"/f"].lastModified = set;
    EXPECT_FALSE(isLinearizable());
    history_.calls[1].outcome.lastModified = set;
    EXPECT_TRUE(isLinearizable());
    history_.tree[u"/f"].lastModified = stamped;
    EXPECT_FALSE(isLinearizable());
}

} // namespace
} // namespace storage::inmemoryprovider::tests
