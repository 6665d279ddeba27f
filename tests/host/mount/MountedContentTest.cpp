#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/BoundedProvider.h"
#include "tests/host/mount/MountedStorageTest.h"
#include "tests/support/ForwardingStream.h"
#include "tests/support/MiscountingProvider.h"

#include <cerrno>
#include <chrono>
#include <future>
#include <limits>
#include <new>

namespace storage::tests {

namespace {

using provider::ByteStreamOpenOptions;
using provider::StorageIRI;

/// Reading, writing and resizing files.
class MountedContentTest : public MountedStorageTest {
protected:
    static constexpr std::uint64_t mebibyte = 1U << 20U;

    /// The storage never holds fewer bytes than programs see. It holds at most about twice as many, or little
    /// more.
    void expectLimitedSlack(FileInode& file, const std::string& path) {
        const std::uint64_t seen = mount_.sizeOf(file);
        const std::uint64_t held = storedSize(path);
        EXPECT_GE(held, seen);
        EXPECT_LE(held, std::max<std::uint64_t>(2 * seen + 1, seen + (64U << 10U)));
    }

    static std::string pattern(std::size_t size, std::size_t seed = 1) {
        std::string bytes(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>((i * 31 + i / 251 + seed) % 255 + 1); // never zero
        }
        return bytes;
    }
};

TEST_F(MountedContentTest, ReadsWhatWasWritten) {
    FileInode& file = mount_.makeFile("/f");
    EXPECT_EQ(mount_.bytesOf(file), "");
    mount_.write(file, 0, "hello world");
    mount_.write(file, 6, "earth");
    EXPECT_EQ(mount_.bytesOf(file), "hello earth");
    EXPECT_EQ(mount_.read(file, 6, 3), "ear");
    EXPECT_EQ(mount_.read(file, 11, 5), "");
    EXPECT_EQ(mount_.read(file, 1000, 5), "");
    EXPECT_EQ(mount_.read(file, 0, 0), "");
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, ReadsAndOverwritesExistingFiles) {
    memory_->doOpenStream(StorageIRI(u"/f"), {})->write("old bytes", 9);
    FileInode& file = mount_.file("/f");
    EXPECT_EQ(mount_.bytesOf(file), "old bytes");
    mount_.write(file, 4, "BYTES and more");
    EXPECT_EQ(mount_.bytesOf(file), "old BYTES and more");
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, FillsAGapWithZeros) {
    FileInode& file = mount_.makeFile("/f", "abc");
    mount_.write(file, 6, "xyz");
    EXPECT_EQ(mount_.bytesOf(file), std::string("abc\0\0\0xyz", 9));
    FileInode& large = mount_.makeFile("/large");
    mount_.write(large, 3 * mebibyte + 5, "end");
    EXPECT_EQ(mount_.bytesOf(large), std::string(3 * mebibyte + 5, '\0') + "end");
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, HidesOldBytesInAGapAfterATruncation) {
    FileInode& file = mount_.makeFile("/f", pattern(100));
    mount_.resize(file, 60);
    EXPECT_EQ(storedSize("/f"), 100U) << "without slack this test checks nothing";
    mount_.write(file, 90, "x");
    EXPECT_EQ(mount_.bytesOf(file), pattern(100).substr(0, 60) + std::string(30, '\0') + "x");
    mount_.resize(file, 70);
    mount_.write(file, 70, "yy");
    EXPECT_EQ(mount_.bytesOf(file), pattern(100).substr(0, 60) + std::string(10, '\0') + "yy");
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, HidesOldBytesWhenAFileGrowsAfterATruncation) {
    for (const std::uint64_t size : {0U, 1U, 40U, 60U, 99U}) {
        for (const std::uint64_t larger : {61U, 99U, 100U, 101U, 300U}) {
            FileInode& file = mount_.makeFile("/f", pattern(100));
            mount_.resize(file, size);
            size < larger ? mount_.resize(file, larger) : void();
            std::string expected = pattern(100).substr(0, size);
            expected.resize(std::max(size, larger), '\0');
            if (size < larger) {
                EXPECT_EQ(mount_.bytesOf(file), expected) << size << ' ' << larger;
            }
            mount_.removeFile("/f");
        }
    }
}

TEST_F(MountedContentTest, HidesOldBytesAfterAnAllocation) {
    FileInode& file = mount_.makeFile("/f", pattern(100));
    mount_.resize(file, 60);
    mount_.storage().allocate(file, 0, 0, 50);
    EXPECT_EQ(mount_.sizeOf(file), 60U) << "an allocation never shortens a file";
    mount_.storage().allocate(file, 0, 0, 120);
    EXPECT_EQ(mount_.bytesOf(file), pattern(100).substr(0, 60) + std::string(60, '\0'));
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, ReadsOnlyUpToTheVisibleEnd) {
    FileInode& file = mount_.makeFile("/f", pattern(100));
    mount_.resize(file, 60);
    EXPECT_EQ(mount_.read(file, 50, 100), pattern(100).substr(50, 10));
    EXPECT_EQ(mount_.read(file, 60, 10), "");
    EXPECT_EQ(mount_.read(file, 70, 10), "");
}

TEST_F(MountedContentTest, TruncatesToAnySize) {
    const std::string bytes = pattern(1000);
    FileInode& file = mount_.makeFile("/f", bytes);
    std::string expected = bytes;
    for (const std::size_t size : {999U, 700U, 500U, 499U, 1200U, 900U, 3U, 2U, 1U, 0U, 0U, 7U, 3U, 100U}) {
        mount_.resize(file, size);
        expected.resize(size, '\0');
        ASSERT_EQ(mount_.bytesOf(file), expected) << size;
        expectLimitedSlack(file, "/f");
    }
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, KeepsTheRemainingBytesOfATruncation) {
    std::string expected = pattern(600);
    FileInode& file = mount_.makeFile("/f", expected);
    while (!expected.empty()) {
        expected.pop_back();
        mount_.resize(file, expected.size());
        ASSERT_EQ(mount_.bytesOf(file), expected);
        expectLimitedSlack(file, "/f");
    }
}

TEST_F(MountedContentTest, CopiesTheFileRarelyWhenItIsTruncated) {
    constexpr std::size_t size = 64U << 10U;
    FileInode& file = mount_.makeFile("/f", pattern(size));
    int emptied = 0;
    provider_.before = [&](const std::string& operation, const auto&) {
        emptied += operation == "openStream" ? 1 : 0;
    };
    for (std::size_t left = size; left > 0; --left) {
        mount_.resize(file, left - 1);
    }
    EXPECT_LE(emptied, 2 * 17) << "one for each power of two, and one to continue writing";
}

TEST_F(MountedContentTest, ServesOtherFilesDuringALongTruncation) {
    FileInode& file = mount_.makeFile("/f", pattern(10 * mebibyte));
    FileInode& other = mount_.makeFile("/other");
    std::vector<std::string> made;
    bool isMakingOne = false;
    provider_.beforeRead = [&] {
        if (isMakingOne) {
            return;
        }
        isMakingOne = true;
        const std::string path = "/" + std::to_string(made.size());
        auto done = std::async(std::launch::async, [&] {
            mount_.makeFile(path);
            mount_.write(other, made.size(), "x");
        });
        constexpr std::chrono::minutes tooLong(1); // fails instead of hanging
        ASSERT_EQ(done.wait_for(tooLong), std::future_status::ready) << "blocked by the truncation";
        made.push_back(path);
        isMakingOne = false;
    };
    mount_.resize(file, 4 * mebibyte);
    provider_.beforeRead = [] {};
    EXPECT_EQ(made.size(), 4U) << "one for each block that was copied";
    EXPECT_EQ(storedSize("/f"), 4 * mebibyte);
    EXPECT_EQ(mount_.bytesOf(file), pattern(10 * mebibyte).substr(0, 4 * mebibyte));
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, KeepsAChangeDuringTheCopyOfATruncation) {
    constexpr std::size_t left = 3 * mebibyte;
    FileInode& file = mount_.makeFile("/f", pattern(10 * mebibyte));
    std::future<void> change;
    provider_.beforeRead = [&] {
        if (!change.valid()) { // it blocks until this step ends
            change = std::async(std::launch::async, [&] { mount_.write(file, 10, "changed"); });
        }
    };
    mount_.resize(file, left);
    change.get();
    provider_.beforeRead = [] {};
    EXPECT_EQ(mount_.bytesOf(file), pattern(10 * mebibyte).substr(0, left).replace(10, 7, "changed"));
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, UndoesAnInterruptedAllocation) {
    FileInode& file = mount_.makeFile("/f", "content");
    int asked = 0;
    const auto isInterrupted = [&] { return ++asked == 2; };
    EXPECT_EQ(errnoOf([&] { mount_.storage().allocate(file, 0, 0, 500 * mebibyte, isInterrupted); }), EINTR);
    EXPECT_EQ(mount_.bytesOf(file), "content");
    EXPECT_LT(storedSize("/f"), 100U) << "the filled pages are freed";
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, SettlesToWhatProgramsSee) {
    FileInode& file = mount_.makeFile("/f", pattern(100));
    mount_.setModified(file, pastTime);
    mount_.resize(file, 60);
    mount_.makeFolder("/d");
    mount_.resize(mount_.makeFile("/d/g", pattern(50)), 30);
    mount_.setPermissions(mount_.file("/d/g"), 0444);
    expectStorageAsSeen();
    EXPECT_EQ(stored("/f").bytes, pattern(100).substr(0, 60));
    EXPECT_EQ(stored("/d/g").bytes, pattern(50).substr(0, 30));
    EXPECT_FALSE(stored("/d/g").isWritable);
}

TEST_F(MountedContentTest, KeepsContentThroughManySizes) {
    FileInode& file = mount_.makeFile("/f");
    std::string expected;
    std::size_t size = 1;
    for (int i = 0; i < 300; ++i) {
        size = (size * 7919 + 13) % 5000;
        mount_.resize(file, size);
        expected.resize(size, '\0');
        const std::size_t offset = (size * 31) % 6000;
        const std::string piece = pattern(size % 97 + 1, size);
        mount_.write(file, offset, piece);
        expected.resize(std::max(expected.size(), offset + piece.size()), '\0');
        expected.replace(offset, piece.size(), piece);
        ASSERT_EQ(mount_.bytesOf(file), expected) << "step " << i;
        ASSERT_GE(storedSize("/f"), expected.size());
    }
    expectStorageAsSeen();
}

TEST_F(MountedContentTest, RefusesSizesAboveTheLargestOffset) {
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    FileInode& file = mount_.makeFile("/f", "abc");
    EXPECT_EQ(errnoOf([&] { mount_.write(file, largest, "x"); }), EFBIG);
    EXPECT_EQ(errnoOf([&] { mount_.write(file, largest - 2, "xyz"); }), EFBIG);
    EXPECT_EQ(mount_.bytesOf(file), "abc");
}

TEST_F(MountedContentTest, RefusesToResizeAFolder) {
    host::AttributeChange change;
    change.size = 0;
    EXPECT_EQ(errnoOf([&] { mount_.storage().change(mount_.makeFolder("/d"), change); }), EISDIR);
}

TEST_F(MountedContentTest, KeepsAFileUnchangedWithoutSpace) {
    BoundedProvider provider(memory_);
    MountedTree mount(provider);
    provider.available = 1100; // for the entry and its bytes
    FileInode& file = mount.makeFile("/f", "abc");
    mount.setModified(file, pastTime);
    provider.available = 10;
    EXPECT_EQ(errnoOf([&] { mount.makeFile("/g", std::string(2000, 'x')); }), ENOSPC);
    EXPECT_EQ(errnoOf([&] { mount.write(file, 2000, "x"); }), ENOSPC);
    EXPECT_EQ(errnoOf([&] { mount.write(file, 0, std::string(2000, 'x')); }), ENOSPC);
    EXPECT_EQ(errnoOf([&] { mount.resize(file, 2000); }), ENOSPC);
    EXPECT_EQ(errnoOf([&] { mount.storage().allocate(file, 0, 0, 2000); }), ENOSPC);
    EXPECT_EQ(mount.bytesOf(file), "abc");
    EXPECT_EQ(mount.modifiedOf(file), pastTime);
    EXPECT_EQ(mount.storage().space().available, 10U);
    EXPECT_EQ(storedSize("/f"), 3U);
    mount.write(file, 0, "xyz");
    EXPECT_EQ(mount.bytesOf(file), "xyz") << "a write that requires no space succeeds";
    provider.available = 50000;
    mount.write(file, 2000, "x");
    EXPECT_EQ(mount.sizeOf(file), 2001U);
}

TEST_F(MountedContentTest, OverwritesWithoutSpace) {
    BoundedProvider provider(memory_);
    MountedTree mount(provider);
    provider.available = 5000;
    FileInode& file = mount.makeFile("/f", pattern(100));
    mount.resize(file, 60);
    provider.available = 0;
    mount.write(file, 0, pattern(100, 7));
    EXPECT_EQ(mount.bytesOf(file), pattern(100, 7)) << "slack can be overwritten";
}

TEST_F(MountedContentTest, ReportsFailedAllocationsAsAFullStorage) {
    FileInode& file = mount_.makeFile("/f", "abc");
    int allowed = 0; // the number of writes that the storage accepts
    provider_.beforeWrite = [&] {
        if (--allowed < 0) {
            throw std::bad_alloc();
        }
    };
    const auto failsUntilAllowed = [&](const auto& operation) {
        int failures = 0;
        for (;; ++failures) {
            allowed = failures;
            const int error = errnoOf(operation);
            if (error == 0) {
                return failures;
            }
            EXPECT_EQ(error, ENOSPC);
            EXPECT_EQ(mount_.bytesOf(file), "abc");
        }
    };
    EXPECT_GT(failsUntilAllowed([&] { mount_.resize(file, 2 * mebibyte + 4); }), 0);
    mount_.resize(file, 3);
    EXPECT_GT(failsUntilAllowed([&] { mount_.storage().allocate(file, 0, 0, 2 * mebibyte + 4); }), 2);
    allowed = 1;
    mount_.resize(file, 3);
    EXPECT_GT(failsUntilAllowed([&] { mount_.write(file, 2 * mebibyte + 3, "end"); }), 2);
    allowed = 10;
    mount_.resize(file, 3);
    mount_.write(file, 5, "x");
    provider_.beforeWrite = [] {};
    EXPECT_EQ(mount_.bytesOf(file), std::string("abc\0\0x", 6));
    expectStorageAsSeen();
}

/// If the storage only keeps more bytes than programs see, the operation has not failed.
TEST_F(MountedContentTest, TruncatesAlsoIfTheSlackCannotBeTrimmed) {
    for (const char* const failing : {"openReadOnlyStream", "read", "openStream", "getFileAttributes"}) {
        FileInode& file = mount_.makeFile("/f", pattern(100));
        provider_.before = [&](const std::string& operation, const StorageIRI&) {
            if (operation == failing) {
                throw std::bad_alloc();
            }
        };
        for (const std::uint64_t size : {40U, 3U, 0U}) {
            EXPECT_EQ(errnoOf([&] { mount_.resize(file, size); }), 0) << failing << size;
            EXPECT_EQ(mount_.sizeOf(file), size);
        }
        provider_.before = [](const char*, const auto&) {};
        mount_.write(file, 3, "x");
        EXPECT_EQ(mount_.bytesOf(file), std::string("\0\0\0x", 4)) << failing;
        expectStorageAsSeen();
        mount_.removeFile("/f");
    }
}

TEST_F(MountedContentTest, TruncatesAlsoIfTheCopyFails) {
    const std::string bytes = pattern(mebibyte);
    FileInode& file = mount_.makeFile("/f", bytes);
    provider_.beforeWrite = [] { throw std::runtime_error("the tape is torn"); };
    mount_.resize(file, 5);
    EXPECT_EQ(mount_.bytesOf(file), bytes.substr(0, 5));
    EXPECT_EQ(storedSize("/f"), mebibyte);
    provider_.beforeWrite = [] {};
    mount_.write(file, 7, "x");
    EXPECT_EQ(mount_.bytesOf(file), bytes.substr(0, 5) + std::string("\0\0x", 3));
    expectStorageAsSeen();
}

/// A storage with files that can be overwritten but cannot grow. A write that requires more space behaves as
/// in real storages: it overwrites the existing bytes, moves the position, and then fails.
class FullProvider final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const ByteStreamOpenOptions& options) const override {
        return std::make_unique<FullStream>(HookedProvider::doOpenStream(iri, options), isFull);
    }

    bool isFull = false;

private:
    class FullStream final : public ForwardingStream {
    public:
        FullStream(std::unique_ptr<ByteStream> inner, const bool& isFull)
            : ForwardingStream(std::move(inner)), isFull_(isFull) {}

        long write(const char* buffer, long count) override {
            const long position = seek(0, std::ios_base::cur);
            const long room = seek(0, std::ios_base::end) - std::streampos(position);
            seek(position, std::ios_base::beg);
            if (isFull_ && room < count) {
                inner().write(buffer, room);
                throw std::bad_alloc();
            }
            return inner().write(buffer, count);
        }

    private:
        const bool& isFull_;
    };
};

TEST_F(MountedContentTest, ReportsWrongCountsOfTheStorage) {
    int number = 0;
    for (const auto& wrong :
         std::vector<MiscountingProvider::Count>{[](long count) { return count - 1; }, [](long) { return 0; },
                                                 [](long count) { return count + 1; }}) {
        MiscountingProvider provider(memory_);
        MountedTree mount(provider);
        FileInode& file = mount.makeFile("/f" + std::to_string(++number), "0123456789");
        provider.written = wrong;
        EXPECT_EQ(errnoOf([&] { mount.write(file, 2, "abc"); }), EIO);
        provider.written = MiscountingProvider::right;
        mount.write(file, 2, "abc");
        provider.copied = wrong;
        EXPECT_EQ(errnoOf([&] { mount.read(file, 0, 5); }), EIO);
        provider.copied = MiscountingProvider::right;
        EXPECT_EQ(mount.bytesOf(file), "01abc56789");
    }
}

TEST_F(MountedContentTest, WritesAtTheRightOffsetAfterAFailedWrite) {
    FullProvider provider(memory_);
    MountedTree mount(provider);
    FileInode& file = mount.makeFile("/f", "0123456789");
    provider.isFull = true;
    EXPECT_EQ(errnoOf([&] { mount.write(file, 4, "4567890123"); }), ENOSPC);
    provider.isFull = false;
    mount.write(file, 4, "ab");
    EXPECT_EQ(mount.bytesOf(file), "0123ab6789");
    EXPECT_EQ(mount.sizeOf(file), 10U);
}

} // namespace

} // namespace storage::tests
