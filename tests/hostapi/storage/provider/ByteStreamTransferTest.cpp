#include "hostapi/storage/provider/ByteStreamTransfer.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace storage::tests {

namespace {

using provider::ByteStream;
using provider::readExactly;
using provider::readUpTo;
using provider::writeAll;
using testing::ElementsAre;
using testing::ThrowsMessage;

/// Returns the given counts, one per call, and 'x' for each byte read.
class CountingStream final : public ByteStream {
public:
    explicit CountingStream(std::vector<long> counts) : counts_(std::move(counts)) {}

    long read(char* buffer, long count) override {
        const long result = next(count);
        std::fill_n(buffer, std::clamp(result, 0L, count), 'x');
        return result;
    }
    long write(const char*, long count) override { return next(count); }
    std::streampos seek(long, std::ios_base::seekdir) override { return -1; }
    void flush() override {}

    std::vector<long> requested; ///< the counts that the calls requested

private:
    long next(long count) {
        requested.push_back(count);
        return counts_.at(requested.size() - 1);
    }

    std::vector<long> counts_;
};

void expectReadFails(std::vector<long> counts, const std::string& message) {
    std::array<char, 5> buffer{};
    CountingStream stream(std::move(counts));
    EXPECT_THAT([&] { readExactly(stream, buffer.data(), buffer.size()); },
                ThrowsMessage<std::runtime_error>(message));
}

TEST(ByteStreamTransferTest, WritesInOneCall) {
    CountingStream stream({5});
    writeAll(stream, "hello");
    EXPECT_THAT(stream.requested, ElementsAre(5));
}

TEST(ByteStreamTransferTest, WritesNothingWithoutACall) {
    CountingStream stream({});
    writeAll(stream, "");
    EXPECT_TRUE(stream.requested.empty());
}

TEST(ByteStreamTransferTest, RefusesAWriteOfAnotherCount) {
    for (const long wrong : {4L, 0L, -1L, 6L}) {
        CountingStream stream({wrong});
        EXPECT_THAT(
            [&] { writeAll(stream, "hello"); },
            ThrowsMessage<std::runtime_error>("the plug-in wrote " + std::to_string(wrong) + " of 5 bytes"));
        EXPECT_THAT(stream.requested, ElementsAre(5)) << "a short write is not continued";
    }
}

TEST(ByteStreamTransferTest, ReadsPiecesUntilTheBufferIsFull) {
    std::array<char, 5> buffer{};
    CountingStream stream({2, 1, 2});
    readExactly(stream, buffer.data(), buffer.size());
    EXPECT_EQ(std::string_view(buffer.data(), buffer.size()), "xxxxx");
    EXPECT_THAT(stream.requested, ElementsAre(5, 3, 2));
}

TEST(ByteStreamTransferTest, ReadsNothingWithoutACall) {
    CountingStream stream({});
    readExactly(stream, nullptr, 0);
    EXPECT_TRUE(stream.requested.empty());
}

TEST(ByteStreamTransferTest, ReadsUpToTheEndOfTheFile) {
    std::array<char, 5> buffer{};
    for (const long end : {-1L, 0L}) {
        CountingStream stream({2, 1, end});
        EXPECT_EQ(readUpTo(stream, buffer.data(), buffer.size()), 3U);
    }
}

TEST(ByteStreamTransferTest, RefusesAFileThatEndsEarly) {
    expectReadFails({2, 1, -1}, "the plug-in read 3 of 5 bytes");
    expectReadFails({4, 0}, "the plug-in read 4 of 5 bytes");
    expectReadFails({-1}, "the plug-in read 0 of 5 bytes");
}

TEST(ByteStreamTransferTest, RefusesMoreBytesThanRequested) {
    expectReadFails({6}, "the plug-in read more bytes than requested");
    expectReadFails({2, 4}, "the plug-in read more bytes than requested");
}

} // namespace

} // namespace storage::tests
