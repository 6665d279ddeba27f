#include "host/mount/StorageSpace.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/ErrnoOf.h"
#include "tests/host/mount/FakeMemory.h"
#include "tests/support/HookedProvider.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/sysinfo.h>

namespace storage::tests {

namespace {

using host::StorageSpace;
using provider::ErrorCode;
using provider::Exception;
using provider::ProviderStorageInfo;
using provider::StorageIRI;

class SpaceProvider final : public HookedProvider {
public:
    SpaceProvider() : HookedProvider(nullptr) {}

    ProviderStorageInfo doGetProviderStorageInfo(const StorageIRI& iri) const override {
        EXPECT_EQ(iri, StorageIRI(u"/"));
        return info();
    }

    std::function<ProviderStorageInfo()> info;
};

class StorageSpaceTest : public testing::Test {
protected:
    static constexpr std::uint64_t mebibyte = 1U << 20U;

    /// From now on the storage reports its free space.
    void offer(std::uint64_t capacity) {
        capacity_ = capacity;
        provider_.info = [this] {
            ++queries_;
            return ProviderStorageInfo{capacity_, capacity_ - used_};
        };
    }

    void failWith(ErrorCode code) {
        provider_.info = [code]() -> ProviderStorageInfo { throw Exception(code, StorageIRI(u"/")); };
    }

    /// Uses space like a file that grows.
    /// @return the number of errno(3), 0 for success
    int take(std::uint64_t bytes) {
        const int error = errnoOf([&] { space_.require(bytes); });
        used_ += error == 0 ? bytes : 0;
        return error;
    }

    SpaceProvider provider_;
    StorageSpace space_{provider_};
    std::uint64_t capacity_ = 0;
    std::uint64_t used_ = 0;
    int queries_ = 0;
};

TEST_F(StorageSpaceTest, ReportsTheSpaceOfTheStorage) {
    offer(1000);
    take(400);
    EXPECT_EQ(space_.info().capacity, 1000U);
    EXPECT_EQ(space_.info().available, 600U);
}

TEST_F(StorageSpaceTest, ReportsMemoryIfTheStorageReportsNoSpace) {
    failWith(ErrorCode::NotOffered);
    struct sysinfo machine {};
    ASSERT_EQ(::sysinfo(&machine), 0);
    const ProviderStorageInfo info = space_.info();
    EXPECT_GT(info.available, 0U);
    EXPECT_LT(info.available, info.capacity);
    EXPECT_LE(info.capacity, machine.totalram * machine.mem_unit);
    EXPECT_EQ(errnoOf([&] { space_.require(mebibyte); }), 0);
    EXPECT_EQ(errnoOf([&] { space_.require(info.capacity); }), ENOSPC) << "something is left to the machine";
}

TEST_F(StorageSpaceTest, LeavesMoreToProcessesInTheSameControlGroup) {
    failWith(ErrorCode::NotOffered);
    const FakeMemory fake;
    fake.join("9:memory:/a\n");
    fake.makeGroup("a", 256 * mebibyte, 200 * mebibyte);
    StorageSpace space(provider_, {}, {}, nullptr, fake.sources());
    EXPECT_EQ(space.info().available, (56 - 2) * mebibyte);
    EXPECT_EQ(errnoOf([&] { space.require(50 * mebibyte); }), 0);
    fake.setProcesses("memory/a", "1\n2\n");
    EXPECT_EQ(space.info().available, (56 - 8) * mebibyte);
    EXPECT_EQ(errnoOf([&] { space.require(50 * mebibyte); }), ENOSPC);
}

TEST_F(StorageSpaceTest, ReservesMoreInALargerSharedControlGroup) {
    failWith(ErrorCode::NotOffered);
    const FakeMemory fake;
    fake.join("9:memory:/a\n");
    fake.makeGroup("a", 4096 * mebibyte, 0);
    fake.setProcesses("memory/a", "1\n2\n");
    const StorageSpace space(provider_, {}, {}, nullptr, fake.sources());
    EXPECT_EQ(space.info().available, (4096 - 64) * mebibyte);
}

TEST_F(StorageSpaceTest, LeavesMoreToAnExportAtTheEnd) {
    failWith(ErrorCode::NotOffered);
    const FakeMemory fake;
    fake.join("9:memory:/a\n");
    std::atomic<std::uint64_t> hardLinks{0};
    StorageSpace space(provider_, {}, {}, &hardLinks, fake.sources());
    EXPECT_EQ(space.info().available, (12 * 1024 - 128) * mebibyte);
    fake.makeGroup("a", 2048 * mebibyte, 0);
    EXPECT_EQ(space.info().available, (2048 - 64) * mebibyte);
    fake.makeGroup("a", 256 * mebibyte, 200 * mebibyte);
    EXPECT_EQ(space.info().available, (56 - 16) * mebibyte);
    EXPECT_EQ(errnoOf([&] { space.require(41 * mebibyte); }), ENOSPC);
    hardLinks = 2048; // of 512 bytes
    EXPECT_EQ(space.info().available, (56 - 17) * mebibyte);
}

TEST_F(StorageSpaceTest, PropagatesOtherFailuresOfTheStorage) {
    failWith(ErrorCode::NotFound);
    EXPECT_EQ(errnoOf([&] { space_.info(); }), ENOENT);
    EXPECT_EQ(take(1), ENOENT);
}

TEST_F(StorageSpaceTest, IsGrantedToTheLastByte) {
    offer(1000);
    EXPECT_EQ(take(1001), ENOSPC);
    EXPECT_EQ(take(600), 0);
    EXPECT_EQ(take(401), ENOSPC);
    EXPECT_EQ(take(400), 0);
    EXPECT_EQ(take(0), 0);
    EXPECT_EQ(take(1), ENOSPC);
}

TEST_F(StorageSpaceTest, NeverGrantsMoreThanIsAvailable) {
    for (const std::uint64_t step : {1000U, 70'000U, 3'000'000U, 100'000'000U}) {
        used_ = 0;
        offer(200 * mebibyte + 77);
        while (take(step) == 0) {
            ASSERT_LE(used_, capacity_);
        }
        EXPECT_GT(used_ + step, capacity_) << "available space is granted";
    }
}

TEST_F(StorageSpaceTest, RefusesGrowthButNotTruncationWithoutTheReserve) {
    offer(1000);
    space_.reserve().giveUp();
    EXPECT_EQ(take(1), ENOSPC);
    EXPECT_EQ(take(0), 0);
    space_.reserve().restore();
    EXPECT_EQ(take(1), 0);
}

TEST_F(StorageSpaceTest, GrantsFreedSpaceAgain) {
    offer(1000);
    EXPECT_EQ(take(1000), 0);
    EXPECT_EQ(take(10), ENOSPC);
    used_ = 100;
    EXPECT_EQ(take(900), 0);
    EXPECT_EQ(take(10), ENOSPC);
}

TEST_F(StorageSpaceTest, QueriesTheStorageOnceForManyOperations) {
    offer(1000 * mebibyte);
    for (int i = 0; i < 10'000; ++i) {
        ASSERT_EQ(take(4096), 0);
    }
    EXPECT_EQ(queries_, 1);
}

/// A control group of 512 MiB in which only the 4 MiB that are left to others are unused.
class FullMemoryTest : public StorageSpaceTest {
protected:
    FullMemoryTest() {
        failWith(ErrorCode::NotOffered);
        fake_.join("9:memory:/a\n");
        setUnused(4 * mebibyte);
        setFreeHeap(0);
    }

    void setUnused(std::uint64_t bytes) const { fake_.makeGroup("a", limit, limit - bytes); }

    void setFreeHeap(std::uint64_t bytes) const { fake_.setHeap(::mallinfo2().uordblks + bytes); }

    int take(std::uint64_t bytes, std::uint64_t transient = 0) {
        return errnoOf([&] { space_.require(bytes, transient); });
    }

    static constexpr std::uint64_t limit = 512 * mebibyte;
    static constexpr std::uint64_t page = 4096;

    const FakeMemory fake_;
    StorageSpace space_{provider_, {}, {}, nullptr, fake_.sources()};
};

TEST_F(FullMemoryTest, ReusesTheHeapForSmallOperationsAfterRemovals) {
    setFreeHeap(100 * mebibyte);
    EXPECT_EQ(take(1), ENOSPC) << "nothing was removed";
    space_.noteRemoval();
    EXPECT_EQ(take(page), 0);
    EXPECT_EQ(take(page - 100, 100), 0);
    EXPECT_EQ(take(page + 1), ENOSPC) << "does not fit between allocations";
    EXPECT_EQ(take(100, page), ENOSPC) << "copies more than a page";
    EXPECT_EQ(take(1), 0);
}

TEST_F(FullMemoryTest, ReusesNoMoreThanTheFreeHeap) {
    constexpr std::uint64_t reusable = 2 * mebibyte;
    setFreeHeap(4 * mebibyte + reusable); // the 4 MiB that are left to others are not reused
    space_.noteRemoval();
    EXPECT_EQ(take(page), 0);
    setFreeHeap(0);
    std::uint64_t taken = page;
    while (taken < 2 * reusable && take(page) == 0) {
        taken += page;
    }
    EXPECT_LE(taken, reusable);
    EXPECT_GT(taken, reusable / 2);
}

TEST_F(FullMemoryTest, MeasuresTheHeapAgainBeforeReuseEnds) {
    setFreeHeap(6 * mebibyte);
    space_.noteRemoval();
    for (std::uint64_t taken = 0; taken < 10 * mebibyte; taken += page) {
        ASSERT_EQ(take(page), 0) << "operations took less of the heap than was counted";
    }
}

TEST_F(FullMemoryTest, EndsReuseWhenAllocationsDoNotFit) {
    setFreeHeap(100 * mebibyte);
    space_.noteRemoval();
    EXPECT_EQ(take(page), 0);
    setUnused(2 * mebibyte);
    std::uint64_t taken = 0;
    while (taken < mebibyte && take(page) == 0) {
        taken += page;
    }
    EXPECT_LE(taken, mebibyte / 4) << "before the memory was measured again";
    space_.noteRemoval();
    EXPECT_EQ(take(1), ENOSPC);
}

TEST_F(FullMemoryTest, TakesNothingFromTheHeapForRefusedOperations) {
    setFreeHeap(100 * mebibyte);
    space_.noteRemoval();
    ASSERT_TRUE(space_.giveBack());
    const std::uint64_t available = space_.info().available;
    setUnused(2 * mebibyte);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(take(page), ENOSPC);
    }
    setUnused(4 * mebibyte);
    EXPECT_EQ(space_.info().available, available);
}

TEST_F(FullMemoryTest, ReportsTheSpaceForSmallFiles) {
    setFreeHeap(100 * mebibyte);
    EXPECT_EQ(space_.info().available, 0U) << "nothing was removed";
    space_.noteRemoval();
    EXPECT_TRUE(space_.giveBack());
    EXPECT_GT(space_.info().available, 95 * mebibyte);
    EXPECT_LT(space_.info().available, 97 * mebibyte);
    take(page);
    EXPECT_LT(space_.info().available, 96 * mebibyte + mebibyte / 2) << "less what was taken since";
    setUnused(2 * mebibyte);
    EXPECT_EQ(space_.info().available, 0U) << "no memory to find out what fits";
}

} // namespace

} // namespace storage::tests
