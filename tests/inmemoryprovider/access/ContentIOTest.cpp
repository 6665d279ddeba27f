#include "inmemoryprovider/access/ContentIO.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::content_io_test {
namespace {

using provider::ByteStreamAppend;

constexpr auto appending = ByteStreamAppend::AppendAtEnd;
constexpr auto atPosition = ByteStreamAppend::WriteAtPosition;
constexpr auto atPositionByAnotherNumber = static_cast<ByteStreamAppend>(7);
constexpr long most = std::numeric_limits<long>::max();

class ContentIOTest : public testing::Test {
protected:
    void fill(const std::string& bytes) { content.assign(bytes.begin(), bytes.end()); }

    std::string bytes() const { return {content.begin(), content.end()}; }

    long write(const std::string& text, ByteStreamAppend append) {
        return writeContent(content, text.data(), static_cast<long>(text.size()), position, append);
    }

    /// Returns the bytes that a read of `count` copied, or "none".
    std::string read(long count) {
        std::string buffer(64, '.');
        const long copied = readContent(content, buffer.data(), count, position);
        return copied < 0 ? "none" : buffer.substr(0, static_cast<std::size_t>(copied));
    }

    long seek(long offset, std::ios_base::seekdir direction) {
        return static_cast<long>(std::streamoff(seekContent(content, offset, direction, position)));
    }

    std::vector<std::uint8_t> content;
    unsigned long position = 0;
};

TEST_F(ContentIOTest, ReadsNothingFromAnEmptyFile) {
    EXPECT_EQ(read(1), "none");
    EXPECT_EQ(read(0), "none");
    EXPECT_EQ(read(-1), "none");
    EXPECT_EQ(position, 0U);
}

TEST_F(ContentIOTest, ReadsUpToTheEndAndThenNone) {
    fill("0123456789");
    position = 7;
    EXPECT_EQ(read(60), "789");
    EXPECT_EQ(position, 10U);
    EXPECT_EQ(read(60), "none");
    EXPECT_EQ(position, 10U);
}

TEST_F(ContentIOTest, ReadsNoMoreThanRequested) {
    fill("0123456789");
    EXPECT_EQ(read(4), "0123");
    EXPECT_EQ(read(1), "4");
    EXPECT_EQ(position, 5U);
}

TEST_F(ContentIOTest, ReadsZeroBytesAndKeepsThePosition) {
    fill("0123456789");
    EXPECT_EQ(read(0), "none");
    EXPECT_EQ(position, 0U);
    position = 3;
    EXPECT_EQ(read(0), "none");
    EXPECT_EQ(position, 3U);
}

TEST_F(ContentIOTest, ReadsAllRemainingBytesForANegativeCount) {
    fill("0123456789");
    position = 6;
    EXPECT_EQ(read(-1), "6789");
    EXPECT_EQ(position, 10U);
}

TEST_F(ContentIOTest, ReadsNothingBeyondTheEndAndKeepsThePosition) {
    fill("0123");
    position = 50;
    EXPECT_EQ(read(10), "none");
    EXPECT_EQ(read(-1), "none");
    EXPECT_EQ(position, 50U);
}

TEST_F(ContentIOTest, AppendsAtTheEndFromAnyPosition) {
    fill("0123456789");
    position = 2;
    EXPECT_EQ(write("abcd", appending), 4);
    EXPECT_EQ(bytes(), "0123456789abcd");
    EXPECT_EQ(position, 14U);
}

TEST_F(ContentIOTest, MovesToTheEndWhenAppendingNothing) {
    fill("0123456789");
    position = 2;
    EXPECT_EQ(write("", appending), 0);
    EXPECT_EQ(position, 10U);
    EXPECT_EQ(bytes(), "0123456789");
}

TEST_F(ContentIOTest, OverwritesInsideTheFile) {
    fill("0123456789");
    position = 2;
    EXPECT_EQ(write("ab", atPosition), 2);
    EXPECT_EQ(bytes(), "01ab456789");
    EXPECT_EQ(position, 4U);
}

TEST_F(ContentIOTest, OverwritesUpToTheEndAndAppendsTheRemainder) {
    fill("0123456789");
    position = 8;
    EXPECT_EQ(write("abcde", atPosition), 5);
    EXPECT_EQ(bytes(), "01234567abcde");
    EXPECT_EQ(position, 13U);
}

TEST_F(ContentIOTest, OverwritesExactlyToTheEnd) {
    fill("0123");
    position = 2;
    EXPECT_EQ(write("ab", atPosition), 2);
    EXPECT_EQ(bytes(), "01ab");
    EXPECT_EQ(position, 4U);
}

TEST_F(ContentIOTest, WritesAtThePositionForEveryNumberButZero) {
    fill("0123");
    position = 1;
    EXPECT_EQ(write("x", atPositionByAnotherNumber), 1);
    EXPECT_EQ(bytes(), "0x23");
}

TEST_F(ContentIOTest, AppendsWithoutAGapWhenWritingBeyondTheEnd) {
    position = 50;
    EXPECT_EQ(write("abcd", atPosition), 4);
    EXPECT_EQ(bytes(), "abcd");
    EXPECT_EQ(position, 4U);
}

TEST_F(ContentIOTest, KeepsThePositionWhenWritingNothing) {
    fill("0123");
    position = 50;
    EXPECT_EQ(write("", atPosition), 0);
    EXPECT_EQ(position, 50U);
    position = 2;
    EXPECT_EQ(write("", atPosition), 0);
    EXPECT_EQ(position, 2U);
    EXPECT_EQ(bytes(), "0123");
}

TEST_F(ContentIOTest, WritesNothingForANegativeCountAndReturnsIt) {
    fill("0123");
    position = 2;
    EXPECT_EQ(writeContent(content, "abc", -3, position, atPosition), -3);
    EXPECT_EQ(position, 2U);
    EXPECT_EQ(writeContent(content, "abc", -3, position, appending), -3);
    EXPECT_EQ(position, 4U);
    EXPECT_EQ(bytes(), "0123");
}

TEST_F(ContentIOTest, DoublesTheCapacityAtLeastWhenGrowing) {
    content.reserve(100);
    fill(std::string(10, 'x'));
    position = 10;
    write(std::string(91, 'y'), atPosition);
    EXPECT_EQ(content.capacity(), 200U);
    write(std::string(500, 'z'), atPosition);
    EXPECT_EQ(content.capacity(), 601U);
}

TEST_F(ContentIOTest, ReallocatesRarelyForSmallAppends) {
    int reallocations = 0;
    for (int i = 0; i < 100000; ++i) {
        const auto capacity = content.capacity();
        write("x", appending);
        reallocations += content.capacity() != capacity ? 1 : 0;
    }
    EXPECT_LT(reallocations, 20);
}

/// A pattern in which no two adjacent blocks are equal.
const std::vector<std::uint8_t>& somePattern() {
    static const auto pattern = [] {
        std::vector<std::uint8_t> bytes(18U << 20U);
        std::uint32_t state = 1;
        for (auto& byte : bytes) {
            state = state * 1'664'525U + 1'013'904'223U;
            byte = static_cast<std::uint8_t>(state >> 24U);
        }
        return bytes;
    }();
    return pattern;
}

/// Appends the pattern block by block up to `size` bytes. Checks the size after each write, and the content
/// at the end.
void expectKeptWhileGrowing(std::size_t size, std::size_t block) {
    const auto& pattern = somePattern();
    std::vector<std::uint8_t> content;
    unsigned long position = 0;
    while (content.size() < size) {
        const auto sizeBefore = content.size();
        const auto capacityBefore = content.capacity();
        const auto added = static_cast<long>(std::min(block, size - sizeBefore));
        const auto* bytes = reinterpret_cast<const char*>(pattern.data() + sizeBefore);
        ASSERT_EQ(writeContent(content, bytes, added, position, appending), added);
        ASSERT_EQ(content.size(), sizeBefore + static_cast<std::size_t>(added));
        ASSERT_EQ(position, content.size());
        ASSERT_TRUE(content.capacity() == capacityBefore || content.capacity() >= 2 * capacityBefore);
    }
    EXPECT_EQ(std::memcmp(content.data(), pattern.data(), size), 0);
}

constexpr std::size_t mebibyte = 1U << 20U;

TEST(LargeContentTest, KeepsAllBytesWhileItGrowsByBlocks) {
    for (const std::size_t block : {4'096U, 65'536U, 65'537U, 700'001U}) {
        SCOPED_TRACE(block);
        expectKeptWhileGrowing(17 * mebibyte + 5, block);
    }
}

/// The sizes at which contents begin to grow with spare capacity, to free their old pages early, and to use
/// huge pages.
TEST(LargeContentTest, KeepsAllBytesOfSizesAroundTheThresholds) {
    for (const std::size_t threshold : {mebibyte / 4, 2 * mebibyte, 8 * mebibyte}) {
        for (const std::size_t size : {threshold - 1, threshold, threshold + 1, 2 * threshold + 1}) {
            for (const std::size_t block :
                 {std::size_t{1000}, threshold - 1, threshold, threshold + 1, size}) {
                SCOPED_TRACE(testing::Message() << size << " bytes by " << block);
                expectKeptWhileGrowing(size, block);
            }
        }
    }
}

TEST(LargeContentTest, GrowsRarely) {
    std::vector<std::uint8_t> content;
    unsigned long position = 0;
    const std::string block(65'536, 'x');
    int growths = 0;
    while (content.size() < 64 * mebibyte) {
        const auto capacity = content.capacity();
        writeContent(content, block.data(), static_cast<long>(block.size()), position, appending);
        growths += content.capacity() != capacity ? 1 : 0;
    }
    EXPECT_LE(growths, 8);
}

TEST_F(ContentIOTest, KeepsTheBytesBeforeALargeWriteAcrossTheEnd) {
    fill("0123456789");
    position = 8;
    const std::string large(3 * mebibyte, 'x');
    write(large, atPosition);
    EXPECT_EQ(bytes(), "01234567" + large);
    EXPECT_EQ(position, content.size());
}

TEST_F(ContentIOTest, WritesAnEmptiedLargeFileFromItsBeginning) {
    write(std::string(2 * mebibyte, 'x'), appending);
    const auto capacity = content.capacity();
    content.clear();
    write("abc", appending);
    EXPECT_EQ(bytes(), "abc");
    EXPECT_EQ(content.capacity(), capacity);
}

TEST_F(ContentIOTest, KeepsTheOverwrittenPartAndThePositionAboveTheMaximumSize) {
    fill("0123456789");
    position = 8;
    std::string buffer = "ab";
    // Only the two overwritten bytes are read from the buffer.
    EXPECT_THROW(writeContent(content, buffer.data(), most, position, atPosition), std::exception);
    EXPECT_EQ(bytes(), "01234567ab");
    EXPECT_EQ(position, 10U);
    EXPECT_THROW(writeContent(content, buffer.data(), most, position, appending), std::length_error);
    EXPECT_EQ(bytes(), "01234567ab");
    EXPECT_EQ(position, 10U);
}

TEST_F(ContentIOTest, SeeksFromTheBeginningThePositionAndTheEnd) {
    fill("0123456789");
    EXPECT_EQ(seek(4, std::ios_base::beg), 4);
    EXPECT_EQ(position, 4U);
    EXPECT_EQ(seek(3, std::ios_base::cur), 7);
    EXPECT_EQ(seek(-5, std::ios_base::cur), 2);
    EXPECT_EQ(seek(-1, std::ios_base::end), 9);
    EXPECT_EQ(seek(0, std::ios_base::end), 10);
    EXPECT_EQ(seek(10, std::ios_base::beg), 10);
    EXPECT_EQ(position, 10U);
}

TEST_F(ContentIOTest, SeeksInAnEmptyFileOnlyToItsBeginning) {
    EXPECT_EQ(seek(0, std::ios_base::end), 0);
    EXPECT_EQ(seek(1, std::ios_base::beg), -1);
    EXPECT_EQ(seek(-1, std::ios_base::cur), -1);
    EXPECT_EQ(position, 0U);
}

TEST_F(ContentIOTest, KeepsThePositionIfTheTargetIsOutsideTheFile) {
    fill("0123456789");
    position = 5;
    EXPECT_EQ(seek(11, std::ios_base::beg), -1);
    EXPECT_EQ(seek(-1, std::ios_base::beg), -1);
    EXPECT_EQ(seek(6, std::ios_base::cur), -1);
    EXPECT_EQ(seek(-6, std::ios_base::cur), -1);
    EXPECT_EQ(seek(1, std::ios_base::end), -1);
    EXPECT_EQ(position, 5U);
}

TEST_F(ContentIOTest, RefusesAnUnknownDirection) {
    fill("0123456789");
    position = 5;
    EXPECT_EQ(seek(0, static_cast<std::ios_base::seekdir>(77)), -1);
    EXPECT_EQ(position, 5U);
}

TEST_F(ContentIOTest, RefusesASumThatOverflows) {
    fill("0123456789");
    position = 5;
    EXPECT_EQ(seek(most, std::ios_base::cur), -1);
    EXPECT_EQ(seek(most, std::ios_base::end), -1);
    EXPECT_EQ(seek(std::numeric_limits<long>::min(), std::ios_base::cur), -1);
    EXPECT_EQ(position, 5U);
}

TEST_F(ContentIOTest, SeeksRelativeToAPositionBeyondTheEnd) {
    fill("0123456789");
    position = 50;
    EXPECT_EQ(seek(0, std::ios_base::cur), -1);
    EXPECT_EQ(seek(-45, std::ios_base::cur), 5);
}

TEST_F(ContentIOTest, SeeksWithoutAConversionState) {
    fill("0123");
    const std::streampos result = seekContent(content, 2, std::ios_base::beg, position);
    EXPECT_EQ(result.state().__count, 0);
    EXPECT_EQ(result, std::streampos(2));
}

} // namespace
} // namespace storage::inmemoryprovider::content_io_test
