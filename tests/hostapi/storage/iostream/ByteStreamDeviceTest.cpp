#include "hostapi/storage/iostream/ByteStreamDevice.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WholeFile.h"
#include "inmemoryprovider/PluginEntry.h"

#include <boost/iostreams/copy.hpp>
#include <boost/iostreams/device/back_inserter.hpp>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

namespace storage::tests {

using namespace provider;

namespace {

/// A device on the file /f of an in-memory storage. The file contains the bytes "abc".
class ByteStreamDeviceTest : public testing::Test {
protected:
    ByteStreamDeviceTest() {
        buildProvider_V1(&provider_);
        writeFile(*provider_, iri_, "abc");
    }

    ByteStreamDevice open() const { return ByteStreamDevice(provider_->doOpenStream(iri_, {})); }

    std::shared_ptr<IProvider> provider_;
    const StorageIRI iri_{u"/f"};
    std::array<char, 10> buffer_{};
};

TEST_F(ByteStreamDeviceTest, EndsAtTheEndOfTheFile) {
    ByteStreamDevice device = open();
    EXPECT_EQ(device.read(buffer_.data(), 10), 3);
    EXPECT_EQ(device.read(buffer_.data(), 10), -1);
}

TEST_F(ByteStreamDeviceTest, WritesAtThePositionThatItsCopiesShare) {
    ByteStreamDevice device = open();
    ByteStreamDevice copy = device;
    EXPECT_EQ(device.read(buffer_.data(), 1), 1);
    EXPECT_EQ(copy.write("BC", 2), 2);
    EXPECT_EQ(readFile(*provider_, iri_), "aBC");
}

TEST_F(ByteStreamDeviceTest, WorksWithBoostAlgorithms) {
    std::string copied;
    boost::iostreams::copy(open(), boost::iostreams::back_inserter(copied));
    EXPECT_EQ(copied, "abc");
}

TEST_F(ByteStreamDeviceTest, RefusesPositionsOutsideTheFile) {
    ByteStreamDevice device = open();
    EXPECT_EQ(device.seek(2, std::ios_base::beg), std::streampos(2));
    EXPECT_THROW(device.seek(5, std::ios_base::beg), std::ios_base::failure);
}

TEST_F(ByteStreamDeviceTest, RefusesANullStream) {
    EXPECT_THROW(ByteStreamDevice(nullptr), std::runtime_error);
}

/// Reads and writes byte by byte, ends after the third byte, and counts its flushes.
class SlowStream final : public ByteStream {
public:
    explicit SlowStream(int* flushed = nullptr) : flushed_(flushed) {}

    long read(char* buffer, long) override {
        *buffer = 'x';
        return done_++ < 3 ? 1 : -1;
    }
    long write(const char*, long) override { return 1; }
    std::streampos seek(long, std::ios_base::seekdir) override { return -1; }
    void flush() override { ++*flushed_; }

private:
    int done_ = 0;
    int* flushed_;
};

TEST(ByteStreamDevicePieceTest, CombinesShortReads) {
    std::array<char, 10> buffer{};
    EXPECT_EQ(ByteStreamDevice(std::make_unique<SlowStream>()).read(buffer.data(), 10), 3);
}

TEST(ByteStreamDevicePieceTest, RefusesAShortWrite) {
    EXPECT_EQ(ByteStreamDevice(std::make_unique<SlowStream>()).write("a", 1), 1);
    EXPECT_THROW(ByteStreamDevice(std::make_unique<SlowStream>()).write("abc", 3), std::runtime_error);
}

TEST(ByteStreamDevicePieceTest, FlushesAfterWrites) {
    int flushed = 0;
    ByteStreamDevice device(std::make_unique<SlowStream>(&flushed));
    EXPECT_TRUE(device.flush());
    EXPECT_EQ(flushed, 0) << "nothing has been written";
    device.write("a", 1);
    EXPECT_TRUE(device.flush());
    EXPECT_TRUE(device.flush());
    EXPECT_EQ(flushed, 1);
}

/// Reports one byte more than requested.
class OverreportingStream final : public ByteStream {
public:
    long read(char*, long count) override { return count + 1; }
    long write(const char*, long count) override { return count; }
    std::streampos seek(long, std::ios_base::seekdir) override { return -1; }
    void flush() override {}
};

TEST(ByteStreamDevicePieceTest, RefusesAStreamThatReadsTooMuch) {
    ByteStreamDevice device(std::make_unique<OverreportingStream>());
    std::array<char, 10> buffer{};
    EXPECT_THROW(device.read(buffer.data(), 10), std::runtime_error);
}

} // namespace

} // namespace storage::tests
