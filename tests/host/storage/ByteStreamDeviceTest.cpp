#include "host/storage/ByteStreamDevice.h"
#include "tests/support/SessionTest.h"

#include <boost/iostreams/stream.hpp>
#include <gmock/gmock.h>

namespace {

using foundation::storage::provider::ByteStream;
using foundation::storage::provider::StorageIRI;
using storage::host::ByteStreamDevice;

class ByteStreamDeviceTest : public SessionTest {
protected:
    ByteStreamDevice open() { return ByteStreamDevice(provider_->doOpenStream(StorageIRI(u"/f"), {})); }
};

TEST_F(ByteStreamDeviceTest, IsAStreamOverAFile) {
    boost::iostreams::stream<ByteStreamDevice> file(open());
    file << "hello " << 42 << '\n' << std::flush;
    file.seekg(6);
    int number = 0;
    file >> number;
    EXPECT_EQ(number, 42);
    EXPECT_EQ(succeed("cat /f"), "hello 42\n");
}

TEST_F(ByteStreamDeviceTest, EndsAtTheEndOfTheFile) {
    succeed("write /f abc");
    char buffer[10];
    ByteStreamDevice device = open();
    EXPECT_EQ(device.read(buffer, 10), 4);
    EXPECT_EQ(device.read(buffer, 10), -1);
}

TEST_F(ByteStreamDeviceTest, RefusesPositionsOutsideTheFile) {
    succeed("write /f abc");
    ByteStreamDevice device = open();
    EXPECT_EQ(device.seek(2, std::ios_base::beg), std::streampos(2));
    EXPECT_THROW(device.seek(5, std::ios_base::beg), std::ios_base::failure);
}

/// Reads and writes byte by byte, and ends after the third.
class SlowStream final : public ByteStream {
public:
    long read(char* buffer, long) override {
        *buffer = 'x';
        return done_++ < 3 ? 1 : -1;
    }
    long write(const char*, long) override { return 1; }
    std::streampos seek(long, std::ios_base::seekdir) override { return -1; }
    void flush() override {}

private:
    int done_ = 0;
};

TEST(ByteStreamDevicePieceTest, PutsPiecesOfReadsTogether) {
    char buffer[10];
    EXPECT_EQ(ByteStreamDevice(std::make_unique<SlowStream>()).read(buffer, 10), 3);
}

TEST(ByteStreamDevicePieceTest, RefusesAShortWrite) {
    EXPECT_EQ(ByteStreamDevice(std::make_unique<SlowStream>()).write("a", 1), 1);
    EXPECT_THROW(ByteStreamDevice(std::make_unique<SlowStream>()).write("abc", 3), std::runtime_error);
}

/// Claims to have read one byte more than there was room for.
class BoastfulStream final : public ByteStream {
public:
    long read(char*, long count) override { return count + 1; }
    long write(const char*, long count) override { return count; }
    std::streampos seek(long, std::ios_base::seekdir) override { return -1; }
    void flush() override {}
};

TEST_F(ByteStreamDeviceTest, RefusesAStreamThatReadsMoreThanItWasAskedFor) {
    ByteStreamDevice device(std::make_unique<BoastfulStream>());
    char buffer[10];
    EXPECT_THROW(device.read(buffer, sizeof buffer), std::runtime_error);
}

TEST_F(ByteStreamDeviceTest, RefusesAStreamThatIsNone) {
    EXPECT_THROW(ByteStreamDevice(nullptr), std::runtime_error);
}

} // namespace
