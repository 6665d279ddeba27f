#include "inmemoryprovider/access/InMemoryByteStream.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SleepingCall.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <mutex>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::in_memory_byte_stream_test {
namespace {

using provider::ByteStream;
using provider::ByteStreamAppend;

class InMemoryByteStreamTest : public testing::Test {
protected:
    std::unique_ptr<ByteStream> open(ByteStreamAppend append) const {
        return std::make_unique<InMemoryByteStream>(file, append);
    }

    static std::string readAll(ByteStream& stream) {
        std::array<char, 64> buffer{};
        const long count = stream.read(buffer.data(), buffer.size());
        return count < 0 ? "" : std::string(buffer.data(), static_cast<std::size_t>(count));
    }

    std::shared_ptr<InMemoryFileEntry> file = std::make_shared<InMemoryFileEntry>(
        InMemoryEntryPath(u"/f"), boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3)), true);
};

TEST_F(InMemoryByteStreamTest, StartsAtTheBeginning) {
    const auto stream = open(ByteStreamAppend::WriteAtPosition);
    EXPECT_EQ(stream->seek(0, std::ios_base::cur), std::streampos(0));
}

TEST_F(InMemoryByteStreamTest, HasItsOwnPositionOnSharedBytes) {
    const auto writer = open(ByteStreamAppend::WriteAtPosition);
    const auto reader = open(ByteStreamAppend::WriteAtPosition);
    EXPECT_EQ(writer->write("hello", 5), 5);
    EXPECT_EQ(readAll(*reader), "hello");
    EXPECT_EQ(writer->write("!", 1), 1);
    EXPECT_EQ(readAll(*reader), "!");
    EXPECT_EQ(writer->read(nullptr, 1), -1);
}

TEST_F(InMemoryByteStreamTest, WritesInItsMode) {
    open(ByteStreamAppend::WriteAtPosition)->write("hello", 5);
    const auto appender = open(ByteStreamAppend::AppendAtEnd);
    appender->write("!", 1);
    open(ByteStreamAppend::WriteAtPosition)->write("J", 1);
    appender->seek(0, std::ios_base::beg);
    EXPECT_EQ(readAll(*appender), "Jello!");
}

TEST_F(InMemoryByteStreamTest, ChangesNothingOnFlush) {
    const auto stream = open(ByteStreamAppend::WriteAtPosition);
    stream->write("abc", 3);
    stream->flush();
    EXPECT_EQ(stream->seek(0, std::ios_base::cur), std::streampos(3));
    EXPECT_EQ(file->getFileSize(), 3U);
}

TEST_F(InMemoryByteStreamTest, KeepsTheFileAliveUntilItIsDestroyed) {
    const std::weak_ptr<InMemoryFileEntry> observer = file;
    auto stream = open(ByteStreamAppend::WriteAtPosition);
    file.reset();
    EXPECT_EQ(stream->write("abc", 3), 3);
    EXPECT_FALSE(observer.expired());
    stream.reset();
    EXPECT_TRUE(observer.expired());
}

constexpr std::size_t mebibyte = 1U << 20U;
constexpr std::size_t hugePage = 2 * mebibyte;

std::uintptr_t endOf(const std::vector<std::uint8_t>& content) {
    return reinterpret_cast<std::uintptr_t>(content.data()) + content.size();
}

/// The content ends in the middle of a huge page. Returns how many of the whole pages from there to the next
/// huge page are resident.
std::ptrdiff_t residentPagesBehind(std::vector<std::uint8_t>& content) {
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const std::uintptr_t first = (endOf(content) + pageSize - 1) / pageSize * pageSize;
    const std::uintptr_t last = (endOf(content) + hugePage - 1) / hugePage * hugePage;
    std::vector<unsigned char> pages((last - first) / pageSize);
    EXPECT_EQ(
        ::mincore(content.data() + content.size() + (first - endOf(content)), last - first, pages.data()), 0);
    return std::count_if(pages.begin(), pages.end(), [](unsigned char page) { return (page & 1U) != 0; });
}

TEST_F(InMemoryByteStreamTest, FreesTheUnusedPartOfTheLastHugePageWhenClosed) {
    const std::string bytes(20 * mebibyte, 'x');
    open(ByteStreamAppend::AppendAtEnd)->write(bytes.data(), static_cast<long>(bytes.size()));
    const auto content = file->getContent();
    content->reserve(64 * mebibyte);
    const std::string more((hugePage - endOf(*content) % hugePage) + mebibyte, 'y');
    {
        const auto writer = open(ByteStreamAppend::AppendAtEnd);
        writer->write(more.data(), static_cast<long>(more.size()));
        content->data()[content->size() + mebibyte / 2] =
            'z'; // after the end, where a huge page is resident too
        EXPECT_GT(residentPagesBehind(*content), 0);
    }
    EXPECT_EQ(residentPagesBehind(*content), 0);
    EXPECT_EQ(std::string(content->begin(), content->end()), bytes + more);
}

/// Another stream may write to the last page meanwhile.
TEST_F(InMemoryByteStreamTest, WaitsForTheMutexToFreeTheUnusedPart) {
    const std::string bytes(9 * mebibyte, 'x');
    auto stream = open(ByteStreamAppend::AppendAtEnd);
    stream->write(bytes.data(), static_cast<long>(bytes.size()));
    std::unique_lock held(*file->getMutex());
    auto closing = tests::startUntilAsleep([&] { stream.reset(); });
    EXPECT_EQ(closing.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    held.unlock();
    closing.get();
    EXPECT_EQ(file->getFileSize(), bytes.size());
}

/// The page of the last byte is not unused, even if it has only that byte.
TEST_F(InMemoryByteStreamTest, KeepsTheOnlyByteOfTheLastPageWhenClosed) {
    const std::string bytes(9 * mebibyte, 'x');
    open(ByteStreamAppend::AppendAtEnd)->write(bytes.data(), static_cast<long>(bytes.size()));
    const auto content = file->getContent();
    content->reserve(16 * mebibyte);
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const std::string more(pageSize - endOf(*content) % pageSize + 1, 'y');
    open(ByteStreamAppend::AppendAtEnd)->write(more.data(), static_cast<long>(more.size()));
    ASSERT_EQ(endOf(*content) % pageSize, 1U);
    EXPECT_EQ(std::string(content->begin(), content->end()), bytes + more);
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_byte_stream_test
