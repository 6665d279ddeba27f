#include "inmemoryprovider/filesystem/PathSeqLock.h"

#include "tests/support/RunTogether.h"
#include "tests/support/SleepingCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <utility>

namespace storage::inmemoryprovider::path_seq_lock_test {
namespace {

using Scope = PathSeqLock::Scope;

InMemoryEntryPath path(const std::u16string& text) {
    return InMemoryEntryPath(text);
}

TEST(PathSeqLockTest, HasNoConflictsWithoutAChange) {
    PathSeqLock lock;
    { const PathSeqLock::Change change(lock, path(u"/a")); }
    EXPECT_FALSE(lock.conflictWith(u"/a", Scope::Entry));
    EXPECT_FALSE(lock.conflictWith(u"/a", Scope::Folder));
}

TEST(PathSeqLockTest, ConcernsBothPathsAndTheirSubtrees) {
    PathSeqLock lock;
    const PathSeqLock::Change change(lock, path(u"/a/b"), path(u"/c"));
    for (const auto scope : {Scope::Entry, Scope::Folder}) {
        for (const auto* concerned : {u"/a/b", u"/a/b/x", u"/a/b/x/y", u"/a/b//", u"/c", u"/c/x"}) {
            EXPECT_EQ(lock.conflictWith(concerned, scope), lock.number());
        }
        for (const auto* other : {u"", u"/b", u"/a/bc", u"/a/c", u"/cc", u"/d/a/b", u"a/b"}) {
            EXPECT_FALSE(lock.conflictWith(other, scope)) << testing::PrintToString(other);
        }
    }
}

TEST(PathSeqLockTest, ConcernsTheFoldersOfBothPathsAsFoldersOnly) {
    PathSeqLock lock;
    const PathSeqLock::Change change(lock, path(u"/a/b/c"), path(u"/d"));
    for (const auto* folder : {u"/a/b", u"/"}) {
        EXPECT_TRUE(lock.conflictWith(folder, Scope::Folder));
        EXPECT_FALSE(lock.conflictWith(folder, Scope::Entry));
    }
    EXPECT_FALSE(lock.conflictWith(u"/a", Scope::Folder));
}

TEST(PathSeqLockTest, ReportsAChangeOfOnePathAsConcerningIt) {
    PathSeqLock lock;
    const PathSeqLock::Change change(lock, path(u"/a/b"));
    EXPECT_TRUE(lock.conflictWith(u"/a/b", Scope::Entry));
    EXPECT_TRUE(lock.conflictWith(u"/a", Scope::Folder));
    EXPECT_FALSE(lock.conflictWith(u"/a/c", Scope::Entry));
}

TEST(PathSeqLockTest, NumbersEachBeginningAndEnd) {
    PathSeqLock lock;
    const auto before = lock.number();
    std::optional<PathSeqLock::Change> change(std::in_place, lock, path(u"/a"));
    const auto during = lock.number();
    EXPECT_NE(before, during);
    change.reset();
    EXPECT_NE(lock.number(), before);
    EXPECT_NE(lock.number(), during);
    lock.waitForEndOf(during); // returns at once
}

TEST(PathSeqLockTest, WakesWaitersAtTheEnd) {
    PathSeqLock lock;
    for (int round = 0; round < 50; ++round) {
        std::optional<PathSeqLock::Change> change(std::in_place, lock, path(u"/a"));
        std::atomic<bool> ended = false;
        std::promise<void> asked;
        auto waiting = std::async(std::launch::async, [&] {
            const auto conflict = lock.conflictWith(u"/a/f", Scope::Entry);
            asked.set_value();
            lock.waitForEndOf(*conflict);
            return ended.load();
        });
        asked.get_future().wait();
        ended = true;
        change.reset();
        EXPECT_TRUE(waiting.get());
    }
}

TEST(PathSeqLockTest, WaitersSleepUntilTheEnd) {
    PathSeqLock lock;
    std::optional<PathSeqLock::Change> change(std::in_place, lock, path(u"/a"));
    auto waiting = tests::startUntilAsleep([&] { lock.waitForEndOf(lock.number()); });
    EXPECT_EQ(waiting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    change.reset();
    waiting.get();
}

TEST(PathSeqLockTest, ConcernsItsTargetOnceItsNumberIsVisible) {
    PathSeqLock lock;
    const auto source = path(u"/s");
    const auto first = path(u"/a");
    const auto second = path(u"/b");
    std::atomic<bool> done = false;
    const auto changeOften = [&] {
        for (int round = 0; round < 50'000; ++round) {
            const PathSeqLock::Change change(lock, source, round % 2 == 0 ? first : second);
        }
        done = true;
    };
    const auto look = [&] {
        while (!done) {
            const auto seen = lock.number();
            if (seen % 2 != 0) { // rounds of the first target have the numbers 1, 5, 9 and so on
                const bool isConcerned =
                    lock.conflictWith(seen % 4 == 1 ? u"/a" : u"/b", Scope::Entry).has_value();
                ASSERT_TRUE(isConcerned || lock.number() != seen);
            }
        }
    };
    tests::runTogether({changeOften, look});
}

/// A reader between two changes may combine the number of one change with the paths of the other. It then
/// need not wait.
TEST(PathSeqLockTest, ReportsAConflictForAnotherPathOnlyIfTheChangeHasEnded) {
    PathSeqLock lock;
    const auto first = path(u"/a");
    const auto second = path(u"/b");
    std::atomic<bool> done = false;
    const auto changeOften = [&] {
        for (int round = 0; round < 50'000; ++round) {
            const PathSeqLock::Change change(lock, round % 2 == 0 ? first : second);
        }
        done = true;
    };
    const auto look = [&] {
        while (!done) {
            // The rounds of the first path have the numbers 1, 5, 9 and so on.
            if (const auto conflict = lock.conflictWith(u"/a", Scope::Entry)) {
                ASSERT_TRUE(*conflict % 4 == 1 || lock.number() != *conflict);
            }
            if (const auto conflict = lock.conflictWith(u"/b", Scope::Entry)) {
                ASSERT_TRUE(*conflict % 4 == 3 || lock.number() != *conflict);
            }
        }
    };
    tests::runTogether({changeOften, look});
}

} // namespace
} // namespace storage::inmemoryprovider::path_seq_lock_test
