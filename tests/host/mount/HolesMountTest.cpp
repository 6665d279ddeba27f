#include "host/mount/SparseMap.h"
#include "tests/host/mount/MountingTest.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using host::pageSize;

constexpr off_t pageBytes = pageSize;

/// A file of the mount and a memory file of the kernel. Runs every operation on both.
class TwoFiles {
public:
    explicit TwoFiles(const std::string& path)
        : files_{::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600),
                 ::memfd_create("compared", MFD_CLOEXEC)} {}
    ~TwoFiles() {
        ::close(files_[0]);
        ::close(files_[1]);
    }
    TwoFiles(const TwoFiles&) = delete;
    TwoFiles& operator=(const TwoFiles&) = delete;

    /// Runs an operation on both files. Results and errors must be equal.
    void compare(const std::string& what, const std::function<long(int file)>& run) const {
        std::array<long, 2> results{};
        std::array<int, 2> errors{};
        for (std::size_t i = 0; i < files_.size(); ++i) {
            errno = 0;
            results[i] = run(files_[i]);
            errors[i] = results[i] == -1 ? errno : 0;
        }
        ASSERT_EQ(results[0], results[1])
            << what << ": " << std::strerror(errors[0]) << " / " << std::strerror(errors[1]);
        ASSERT_EQ(errors[0], errors[1]) << what;
    }

    void compareContent(off_t offset, std::size_t count) const {
        std::array<std::string, 2> read{std::string(count, 'a'), std::string(count, 'b')};
        for (std::size_t i = 0; i < files_.size(); ++i) {
            const ssize_t length = ::pread(files_[i], read[i].data(), count, offset);
            ASSERT_GE(length, 0);
            read[i].resize(static_cast<std::size_t>(length));
        }
        ASSERT_TRUE(read[0] == read[1]) << "other content at " << offset << ", " << count << " bytes";
    }

private:
    std::array<int, 2> files_; ///< the mount's first
};

long blocksOf(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 ? status.st_blocks : -1;
}

long sizeOf(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 ? status.st_size : -1;
}

/// Writes through a mapping if the page is within the file.
long writeMapped(int file, off_t page, char byte) {
    if (sizeOf(file) < (page + 1) * pageBytes) {
        return 0;
    }
    void* const memory =
        ::mmap(nullptr, pageSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, page * pageBytes);
    if (memory == MAP_FAILED) {
        return -1;
    }
    static_cast<char*>(memory)[7] = byte;
    return ::munmap(memory, pageSize);
}

/// Holes of a real mount, seen through the kernel's page cache.
class HolesMountTest : public MountingTest {
protected:
    static constexpr int steps = 1500;
    static constexpr off_t pages = 60;

    void runSteps(unsigned seed);
    void writeAtOnce();

private:
    off_t upTo(off_t most) { return std::uniform_int_distribution<off_t>(0, most)(random_); }
    off_t anyOffset() { return far_ + (upTo(1) == 0 ? upTo(pages) * pageBytes : upTo(pages * pageBytes)); }

    void change(const TwoFiles& files);
    void look(const TwoFiles& files);

    std::mt19937 random_;
    off_t far_ = 0; ///< added to every offset
};

void HolesMountTest::change(const TwoFiles& files) {
    const off_t offset = anyOffset();
    const off_t length = upTo(upTo(2) == 0 ? 9 * pageBytes : 2 * pageBytes) + 1;
    const auto fallocate = [&](int mode) {
        files.compare("fallocate " + std::to_string(mode),
                      [&](int file) { return ::fallocate(file, mode, offset, length); });
    };
    switch (upTo(9)) {
    case 0:
        files.compare("ftruncate", [&](int file) { return ::ftruncate(file, offset); });
        break;
    case 1:
        fallocate(upTo(1) == 0 ? 0 : FALLOC_FL_KEEP_SIZE);
        break;
    case 2:
    case 3:
        fallocate(FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE);
        break;
    case 4: {
        const auto byte = static_cast<char>(upTo(100) + 1);
        files.compare("mmap", [&](int file) { return writeMapped(file, offset / pageBytes, byte); });
        break;
    }
    case 5:
        files.compare("fsync", [&](int file) { return ::fsync(file); });
        break;
    default: {
        const std::string bytes(static_cast<std::size_t>(length), static_cast<char>(upTo(100) + 1));
        files.compare("pwrite", [&](int file) { return ::pwrite(file, bytes.data(), bytes.size(), offset); });
    }
    }
}

void HolesMountTest::look(const TwoFiles& files) {
    files.compare("size", sizeOf);
    files.compareContent(anyOffset(), static_cast<std::size_t>(upTo(5 * pageBytes)));
    for (const int origin : {SEEK_DATA, SEEK_HOLE}) {
        for (const off_t offset : {anyOffset(), off_t(0)}) {
            files.compare("lseek from " + std::to_string(offset) + ", " + std::to_string(origin),
                          [&](int file) { return ::lseek(file, offset, origin); });
        }
    }
    if (upTo(9) == 0) {
        files.compare("fsync", [&](int file) { return ::fsync(file); });
        files.compare("blocks", blocksOf);
    }
}

void HolesMountTest::runSteps(unsigned seed) {
    random_.seed(seed);
    for (const off_t far : {off_t(0), off_t(1) << 40}) {
        far_ = far;
        const TwoFiles files(inside("file" + std::to_string(seed) + '-' + std::to_string(far)));
        for (int i = 0; i < steps && !HasFatalFailure(); ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(i));
            change(files);
            look(files);
        }
    }
}

void HolesMountTest::writeAtOnce() {
    const TwoFiles files(inside("file"));
    const std::string bytes(100'000, 'x');
    files.compare("pwrite", [&](int file) { return ::pwrite(file, bytes.data(), bytes.size(), 0); });
    files.compare("fsync", [](int file) { return ::fsync(file); });
    files.compare("blocks",
                  [](int file) { return comesTrue([&] { return blocksOf(file) == 200; }) ? 0 : 1; });
}

TEST_F(HolesMountTest, ReportsHolesLikeTmpfs) {
    const ProgramRun run = runMounted({}, [&](pid_t) {
        runSteps(1);
        EXPECT_TRUE(unmount());
    });
    EXPECT_EQ(run.status(), 0);
}

TEST_F(HolesMountTest, RequiresOnlyOneThread) {
    const ProgramRun run = runMounted({"--threads", "1"}, [&](pid_t) {
        runSteps(2);
        EXPECT_TRUE(unmount());
    });
    EXPECT_EQ(run.status(), 0);
}

TEST_F(HolesMountTest, CountsTheBlocksOfAFileAfterOneWrite) {
    const ProgramRun run = runMounted({}, [&](pid_t) {
        writeAtOnce();
        EXPECT_TRUE(unmount());
    });
    expectSuccess(run);
}

} // namespace

} // namespace storage::tests
