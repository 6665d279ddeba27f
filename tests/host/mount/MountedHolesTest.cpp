#include "tests/host/mount/MountedStorageTest.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <iostream>
#include <new>
#include <random>

namespace storage::tests {

namespace {

using host::pageSize;
using host::pagesOf;

constexpr int keepSize = FALLOC_FL_KEEP_SIZE;
constexpr int punchHole = FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE;
constexpr int zeroRange = FALLOC_FL_ZERO_RANGE;

/// Files with holes.
class MountedHolesTest : public MountedStorageTest {
protected:
    static constexpr std::uint64_t mebibyte = 1U << 20U;
    static constexpr std::uint64_t tebibyte = 1ULL << 40U;

    void allocate(FileInode& file, int mode, std::uint64_t offset, std::uint64_t length) {
        mount_.storage().allocate(file, mode, offset, length);
    }
    std::uint64_t reportedPages(FileInode& file) {
        return static_cast<std::uint64_t>(mount_.storage().status(file).st_blocks) * 512 / pageSize;
    }

    /// Returns data and holes in turn, as programs that copy files find them: "D0-4096 H4096-8192".
    std::string layoutOf(FileInode& file) {
        std::string layout;
        std::uint64_t offset = 0;
        const auto add = [&](char kind, std::uint64_t end) {
            if (end > offset) {
                layout += std::string(layout.empty() ? "" : " ") + kind + std::to_string(offset) + '-' +
                          std::to_string(end);
            }
            offset = end;
        };
        const std::uint64_t size = mount_.sizeOf(file);
        while (offset < size) {
            std::uint64_t data = size;
            const int error = errnoOf([&] { data = mount_.storage().seekData(file, offset); });
            EXPECT_TRUE(error == 0 || error == ENXIO);
            add('H', data);
            add('D', offset < size ? mount_.storage().seekHole(file, offset) : size);
        }
        return layout;
    }

    static std::string zeros(std::size_t count) { return std::string(count, '\0'); }
};

TEST_F(MountedHolesTest, StoresNoPagesOfAGap) {
    FileInode& file = mount_.makeFile("/f", "begin");
    mount_.write(file, tebibyte, "end");
    EXPECT_EQ(mount_.sizeOf(file), tebibyte + 3);
    EXPECT_EQ(reportedPages(file), 2U);
    EXPECT_LE(storedSize("/f"), 2 * pageSize);
    EXPECT_EQ(mount_.read(file, 0, 10), "begin" + zeros(5));
    EXPECT_EQ(mount_.read(file, tebibyte - 5, 100), zeros(5) + "end");
    EXPECT_EQ(layoutOf(file), "D0-4096 H4096-1099511627776 D1099511627776-1099511627779");
}

TEST_F(MountedHolesTest, StoresAGapWithoutAWholePage) {
    FileInode& file = mount_.makeFile("/f", "begin");
    mount_.write(file, pageSize + 5, "end");
    EXPECT_EQ(layoutOf(file), "D0-4104");
    EXPECT_EQ(mount_.bytesOf(file), "begin" + zeros(pageSize) + "end");
    EXPECT_EQ(file.sparse, nullptr);
}

TEST_F(MountedHolesTest, StoresNoPagesWhenAFileGrows) {
    FileInode& file = mount_.makeFile("/f");
    mount_.resize(file, tebibyte);
    EXPECT_EQ(storedSize("/f"), 0U);
    EXPECT_EQ(reportedPages(file), 0U);
    EXPECT_EQ(mount_.read(file, tebibyte - 3, 10), zeros(3));
    EXPECT_EQ(errnoOf([&] { mount_.storage().seekData(file, 0); }), ENXIO);
    EXPECT_EQ(mount_.storage().seekHole(file, 5), 5U);
    EXPECT_EQ(errnoOf([&] { mount_.storage().seekHole(file, tebibyte); }), ENXIO);
    mount_.resize(file, 0);
    EXPECT_EQ(file.sparse, nullptr);
}

TEST_F(MountedHolesTest, DropsTheMapOfADenseFile) {
    FileInode& file = mount_.makeFile("/f");
    mount_.resize(file, 3 * pageSize + 10);
    EXPECT_NE(file.sparse, nullptr);
    for (std::uint64_t page = 0; page < 4; ++page) {
        mount_.write(file, page * pageSize, std::string(page < 3 ? pageSize : 10, 'x'));
    }
    EXPECT_EQ(file.sparse, nullptr);
    EXPECT_EQ(mount_.bytesOf(file), std::string(3 * pageSize + 10, 'x'));
    expectStorageAsSeen();
}

TEST_F(MountedHolesTest, ReportsReservedPagesAsHoles) {
    FileInode& file = mount_.makeFile("/f", "begin");
    allocate(file, keepSize, 0, 4 * pageSize);
    EXPECT_EQ(mount_.sizeOf(file), 5U);
    EXPECT_EQ(reportedPages(file), 4U);
    mount_.resize(file, 3 * pageSize);
    EXPECT_EQ(reportedPages(file), 4U);
    mount_.resize(file, 3 * pageSize);
    EXPECT_EQ(reportedPages(file), 3U) << "the same size frees what is beyond";
    EXPECT_EQ(layoutOf(file), "D0-4096 H4096-12288");
    provider_.beforeWrite = [number = 0]() mutable {
        if (++number > 1) {
            throw std::bad_alloc();
        }
    };
    mount_.write(file, pageSize, std::string(pageSize, 'x'));
    provider_.beforeWrite = [] {};
    EXPECT_EQ(layoutOf(file), "D0-8192 H8192-12288");
    EXPECT_EQ(mount_.bytesOf(file),
              "begin" + zeros(pageSize - 5) + std::string(pageSize, 'x') + zeros(pageSize));
    expectStorageAsSeen();
}

TEST_F(MountedHolesTest, UndoesAFailedReservation) {
    FileInode& file = mount_.makeFile("/f", "begin");
    mount_.write(file, 10 * pageSize, "end");
    allocate(file, keepSize, 3 * pageSize, 2 * pageSize);
    const std::string before = mount_.bytesOf(file);
    for (const int mode : {0, keepSize, zeroRange}) {
        EXPECT_EQ(errnoOf([&] { allocate(file, mode, 0, tebibyte); }), ENOSPC);
        int asked = 0;
        const auto isInterrupted = [&] { return ++asked == 2; };
        EXPECT_EQ(errnoOf([&] { mount_.storage().allocate(file, mode, 0, 200 * mebibyte, isInterrupted); }),
                  EINTR);
        EXPECT_EQ(reportedPages(file), 4U) << mode;
        EXPECT_EQ(mount_.bytesOf(file), before);
        EXPECT_LE(storedSize("/f"), 64U << 10U) << "what was reserved is freed";
    }
    EXPECT_EQ(errnoOf([&] { allocate(file, FALLOC_FL_COLLAPSE_RANGE, 0, pageSize); }), EOPNOTSUPP);
    EXPECT_EQ(errnoOf([&] { allocate(file, FALLOC_FL_INSERT_RANGE, 0, pageSize); }), EOPNOTSUPP);
    expectStorageAsSeen();
}

TEST_F(MountedHolesTest, KeepsWritesDuringAFailedReservation) {
    FileInode& file = mount_.makeFile("/f");
    mount_.resize(file, 200 * mebibyte);
    int asked = 0;
    const auto isInterrupted = [&] {
        mount_.write(file, 10 * pageSize, "written");
        return ++asked == 2;
    };
    EXPECT_EQ(errnoOf([&] { mount_.storage().allocate(file, 0, 0, 200 * mebibyte, isInterrupted); }), EINTR);
    EXPECT_EQ(reportedPages(file), 1U);
    EXPECT_EQ(mount_.read(file, 10 * pageSize - 1, 9), '\0' + std::string("written\0", 8));
}

TEST_F(MountedHolesTest, ReusesAndFreesPunchedPages) {
    FileInode& file = mount_.makeFile("/f", std::string(100 * pageSize, 'x'));
    allocate(file, punchHole, pageSize / 2, 10 * pageSize);
    EXPECT_EQ(layoutOf(file), "D0-4096 H4096-40960 D40960-409600");
    EXPECT_EQ(reportedPages(file), 91U);
    EXPECT_EQ(mount_.read(file, pageSize / 2 - 1, 2), std::string("x\0", 2));
    EXPECT_EQ(mount_.read(file, 10 * pageSize + pageSize / 2 - 1, 2), std::string("\0x", 2));
    mount_.write(file, 200 * pageSize, std::string(9 * pageSize, 'y'));
    EXPECT_EQ(storedSize("/f"), 100 * pageSize) << "freed pages are used first";
    EXPECT_EQ(mount_.read(file, 200 * pageSize - 1, 9 * pageSize + 1), '\0' + std::string(9 * pageSize, 'y'));
    allocate(file, punchHole, 0, 205 * pageSize);
    EXPECT_LE(storedSize("/f"), 64U << 10U);
    EXPECT_EQ(mount_.sizeOf(file), 209 * pageSize);
    expectStorageAsSeen();
}

TEST_F(MountedHolesTest, ServesOtherFilesDuringLongChanges) {
    FileInode& file = mount_.makeFile("/f");
    std::vector<std::string> made;
    bool isMakingOne = false;
    provider_.beforeWrite = [&] {
        if (isMakingOne) {
            return;
        }
        isMakingOne = true;
        const std::string path = "/" + std::to_string(made.size());
        auto done = std::async(std::launch::async, [&] { mount_.makeFile(path, "x"); });
        constexpr std::chrono::minutes tooLong(1); // fails instead of hanging
        ASSERT_EQ(done.wait_for(tooLong), std::future_status::ready) << "blocked by the change";
        made.push_back(path);
        isMakingOne = false;
    };
    allocate(file, 0, 0, 40 * mebibyte);
    EXPECT_EQ(made.size(), 40U);
    made.clear();
    allocate(file, punchHole, pageSize, 38 * mebibyte);
    EXPECT_GT(made.size(), 1U) << "the pages that stay are copied";
    provider_.beforeWrite = [] {};
}

TEST_F(MountedHolesTest, KeepsTheHolesOfARemovedFile) {
    mount_.makeFile("/f", "begin");
    FileInode& file = mount_.open("/f");
    mount_.write(file, 10 * pageSize, "middle");
    mount_.removeFile("/f");
    mount_.write(file, 20 * pageSize, "end");
    EXPECT_EQ(layoutOf(file), "D0-4096 H4096-40960 D40960-45056 H45056-81920 D81920-81923");
    EXPECT_EQ(mount_.read(file, 10 * pageSize - 1, 8), '\0' + std::string("middle\0", 7));
    mount_.close(file);
}

TEST_F(MountedHolesTest, KeepsAFileThatDoesNotFitWhenSettling) {
    FileInode& file = mount_.makeFile("/f", "begin");
    mount_.write(file, tebibyte, "end");
    const auto unsettled = mount_.storage().settle();
    EXPECT_THAT(unsettled.failures, testing::IsEmpty());
    EXPECT_THAT(unsettled.withHoles, testing::ElementsAre("f"));
    EXPECT_EQ(mount_.read(file, tebibyte - 1, 10), '\0' + std::string("end"));
    EXPECT_EQ(layoutOf(file), "D0-4096 H4096-1099511627776 D1099511627776-1099511627779");
}

/// Random changes of a file, its bytes, and the state of its pages.
class MountedHolesModelTest : public MountedHolesTest, public testing::WithParamInterface<unsigned> {
protected:
#ifdef QZSTORAGE_SANITIZED
    static constexpr int steps = 400;
#else
    static constexpr int steps = 2000;
#endif
    static constexpr std::uint64_t pages = 48;

    enum class Page { Hole, Reserved, Written };

    std::uint64_t upTo(std::uint64_t most) {
        return std::uniform_int_distribution<std::uint64_t>(0, most)(random_);
    }

    /// Returns an offset, often at a page boundary.
    std::uint64_t anyOffset(std::uint64_t most) {
        return upTo(2) == 0 ? upTo(most / pageSize) * pageSize : upTo(most);
    }

    void step();
    void compare();

    FileInode* file_ = nullptr;
    std::string bytes_;
    std::vector<Page> state_ = std::vector<Page>(2 * pages, Page::Hole);

private:
    void write();
    void resize();
    void change(int mode);
    void setStates(std::uint64_t first, std::uint64_t end, Page state);
    void reserve(std::uint64_t first, std::uint64_t end);

    std::mt19937 random_{GetParam()};
};

void MountedHolesModelTest::setStates(std::uint64_t first, std::uint64_t end, Page state) {
    for (std::uint64_t page = first; page < end; ++page) {
        state_[page] = state;
    }
}

/// A page that is reserved again is reported as data, as in tmpfs.
void MountedHolesModelTest::reserve(std::uint64_t first, std::uint64_t end) {
    for (std::uint64_t page = first; page < end; ++page) {
        state_[page] = state_[page] == Page::Hole ? Page::Reserved : Page::Written;
    }
}

void MountedHolesModelTest::write() {
    const std::uint64_t offset = anyOffset(pages * pageSize);
    std::string piece(upTo(upTo(3) == 0 ? 6 * pageSize : 300) + 1, '\0');
    for (char& byte : piece) {
        byte = static_cast<char>(upTo(254) + 1); // zeros occur only in holes
    }
    mount_.write(*file_, offset, piece);
    bytes_.resize(std::max(bytes_.size(), offset + piece.size()), '\0');
    bytes_.replace(offset, piece.size(), piece);
    setStates(offset / pageSize, pagesOf(offset + piece.size()), Page::Written);
}

void MountedHolesModelTest::resize() {
    const std::uint64_t size = upTo(5) == 0 ? bytes_.size() : anyOffset(pages * pageSize);
    mount_.resize(*file_, size);
    if (size <= bytes_.size()) {
        setStates(pagesOf(size), state_.size(), Page::Hole);
    }
    bytes_.resize(size, '\0');
}

void MountedHolesModelTest::change(int mode) {
    const std::uint64_t offset = anyOffset(pages * pageSize);
    const std::uint64_t length = anyOffset(8 * pageSize) + 1;
    const std::uint64_t end = offset + length;
    allocate(*file_, mode, offset, length);
    if (mode == punchHole) {
        setStates(pagesOf(offset), end / pageSize, Page::Hole);
    } else {
        reserve(offset / pageSize, pagesOf(end));
    }
    if ((mode & keepSize) == 0) {
        bytes_.resize(std::max(bytes_.size(), end), '\0');
    }
    if ((mode & ~keepSize) != 0 && offset < bytes_.size()) {
        std::fill(bytes_.begin() + static_cast<long>(offset),
                  bytes_.begin() + static_cast<long>(std::min(end, bytes_.size())), '\0');
    }
}

void MountedHolesModelTest::step() {
    switch (upTo(10)) {
    case 0:
    case 1:
        resize();
        break;
    case 2:
        change(upTo(1) == 0 ? 0 : keepSize);
        break;
    case 3:
        change(upTo(1) == 0 ? zeroRange : zeroRange | keepSize);
        break;
    case 4:
    case 5:
    case 6:
        change(punchHole);
        break;
    default:
        write();
    }
}

void MountedHolesModelTest::compare() {
    ASSERT_EQ(mount_.bytesOf(*file_), bytes_);
    const auto isHeld = [](Page page) { return page != Page::Hole; };
    const auto held = static_cast<std::uint64_t>(std::ranges::count_if(state_, isHeld));
    ASSERT_EQ(reportedPages(*file_), held);
    ASSERT_LE(storedSize("/f"), std::max(2 * held * pageSize, (held * pageSize) + (64U << 10U)) + pageSize);
    const std::uint64_t offset = upTo(pages * pageSize);
    const auto next = [&](bool isData) {
        std::uint64_t found = offset;
        while (found < bytes_.size() && (state_[found / pageSize] == Page::Written) != isData) {
            found = (found / pageSize + 1) * pageSize;
        }
        return std::min<std::uint64_t>(found, bytes_.size());
    };
    std::uint64_t found = 0;
    const int dataError = errnoOf([&] { found = mount_.storage().seekData(*file_, offset); });
    ASSERT_EQ(dataError, offset < bytes_.size() && next(true) < bytes_.size() ? 0 : ENXIO);
    ASSERT_TRUE(dataError != 0 || found == next(true)) << offset << ' ' << found;
    const int holeError = errnoOf([&] { found = mount_.storage().seekHole(*file_, offset); });
    ASSERT_EQ(holeError, offset < bytes_.size() ? 0 : ENXIO);
    ASSERT_TRUE(holeError != 0 || found == next(false)) << offset << ' ' << found;
    const std::uint64_t begin = upTo(pages * pageSize);
    const std::size_t count = upTo(3 * pageSize);
    ASSERT_EQ(mount_.read(*file_, begin, count),
              begin < bytes_.size() ? bytes_.substr(begin, count) : std::string());
}

TEST_P(MountedHolesModelTest, AgreesWithAModelOfBytesAndPages) {
    file_ = &mount_.makeFile("/f");
    for (int i = 0; i < steps && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(i));
        step();
        compare();
    }
    ASSERT_FALSE(HasFatalFailure());
    expectStorageAsSeen();
    EXPECT_EQ(stored("/f").bytes, bytes_);
}

INSTANTIATE_TEST_SUITE_P(WithSeed, MountedHolesModelTest, testing::Values(1U, 2U, 3U, 4U));

} // namespace

} // namespace storage::tests
