#include "host/mount/InodeGuards.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/RunTogether.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace storage::tests {

namespace {

using host::FileInode;
using host::InodeGuards;
using host::OpenStream;
using provider::ByteStream;

class InodeGuardsTest : public testing::Test {
protected:
    /// A stream that counts the open streams.
    class CountedStream final : public ByteStream {
    public:
        explicit CountedStream(int& count) : count_(count) { ++count_; }
        CountedStream(const CountedStream&) = delete;
        CountedStream& operator=(const CountedStream&) = delete;
        ~CountedStream() override {
            std::this_thread::yield(); // exposes threads that do not wait until the stream is destroyed
            --count_;
        }
        long read(char*, long) override { return -1; }
        long write(const char*, long count) override { return count; }
        std::streampos seek(long, std::ios_base::seekdir) override { return 0; }
        void flush() override {}

    private:
        int& count_;
    };

    OpenStream stream() {
        return {std::make_unique<CountedStream>(openStreams_), OpenStream::Access::ReadWrite, 0};
    }

    ByteStream* openStreamOf(FileInode& file) {
        auto held = guards_.hold(file);
        held.streamOf(file) = stream();
        return held.streamOf(file).stream.get();
    }

    ByteStream* streamOf(FileInode& file) { return guards_.hold(file).streamOf(file).stream.get(); }

    int openStreams_ = 0;
    InodeGuards guards_;
    FileInode file_{u"f", 7};
};

TEST_F(InodeGuardsTest, KeepsAStreamOpenBetweenAccesses) {
    EXPECT_EQ(streamOf(file_), nullptr);
    ByteStream* const opened = openStreamOf(file_);
    EXPECT_EQ(streamOf(file_), opened);
    EXPECT_EQ(openStreams_, 1);
}

TEST_F(InodeGuardsTest, ReturnsNoStreamOfAnotherFile) {
    openStreamOf(file_);
    for (std::uint64_t number = 8; number < 2000; ++number) {
        FileInode other(u"g", number);
        ASSERT_EQ(streamOf(other), nullptr) << number;
    }
    EXPECT_EQ(streamOf(file_), nullptr) << "another file has the same slot";
}

TEST_F(InodeGuardsTest, BoundsTheNumberOfOpenStreams) {
    std::vector<std::unique_ptr<FileInode>> files;
    for (std::uint64_t number = 1; number <= 5000; ++number) {
        files.push_back(std::make_unique<FileInode>(u"f", number));
        openStreamOf(*files.back());
    }
    EXPECT_LE(openStreams_, 256);
    EXPECT_GT(openStreams_, 0);
    guards_.closeStreams();
    EXPECT_EQ(openStreams_, 0);
}

TEST_F(InodeGuardsTest, ClosesOnlyTheStreamOfOneFile) {
    FileInode other(u"g", 8);
    openStreamOf(file_);
    openStreamOf(other);
    guards_.hold(file_).closeStreamOf(file_);
    EXPECT_EQ(streamOf(file_), nullptr);
    EXPECT_NE(streamOf(other), nullptr);
    EXPECT_EQ(openStreams_, 1);
}

TEST_F(InodeGuardsTest, KeepsTheStreamOfAnotherFileInTheSameSlot) {
    openStreamOf(file_);
    for (std::uint64_t number = 8; number < 2000; ++number) {
        const FileInode other(u"g", number);
        guards_.hold(other).closeStreamOf(other);
    }
    EXPECT_EQ(openStreams_, 1);
}

TEST_F(InodeGuardsTest, KeepsTheLastStreamOfADetachedFileOpen) {
    FileInode removed(u"r", 7);
    openStreamOf(file_);
    removed.detached = true;
    removed.requireRare().lastStream = std::make_unique<OpenStream>(stream());
    EXPECT_EQ(streamOf(removed), removed.rare->lastStream->stream.get());
    EXPECT_NE(streamOf(file_), nullptr) << "it has the same slot, but does not use it";
    guards_.hold(removed).closeStreamOf(removed);
    guards_.closeStreams();
    EXPECT_EQ(streamOf(file_), nullptr);
    EXPECT_NE(streamOf(removed), nullptr);
}

TEST_F(InodeGuardsTest, DoesNotBlockOtherFilesOfTheSlot) {
    openStreamOf(file_);
    auto held = guards_.hold(file_);
    ByteStream* const used = held.streamOf(file_).stream.get();
    auto others = std::async(std::launch::async, [&] {
        for (std::uint64_t number = 8; number < 600; ++number) {
            FileInode other(u"g", number);
            openStreamOf(other);
        }
    });
    constexpr std::chrono::minutes tooLong(1); // fails instead of hanging
    ASSERT_EQ(others.wait_for(tooLong), std::future_status::ready);
    EXPECT_EQ(held.streamOf(file_).stream.get(), used) << "the guard was held meanwhile";
}

TEST_F(InodeGuardsTest, WaitsForStreamsInUseWhenClosing) {
    for (int round = 0; round < 1000; ++round) {
        openStreamOf(file_);
        std::future<void> closing;
        {
            auto held = guards_.hold(file_);
            ASSERT_NE(held.streamOf(file_).stream, nullptr);
            closing = std::async(std::launch::async, [&] {
                guards_.closeStreams();
                ASSERT_EQ(openStreams_, 0);
            });
            ASSERT_EQ(openStreams_, 1);
            if (round % 2 == 0) {
                held.closeStreamOf(file_);
            }
        }
        closing.get();
    }
}

TEST_F(InodeGuardsTest, AreHeldByOneThreadAtATime) {
    constexpr int turns = 2000;
    int sum = 0;
    const auto addUp = [&] {
        for (int i = 0; i < turns; ++i) {
            const auto held = guards_.hold(file_);
            ++sum;
        }
    };
    runTogether({addUp, addUp, addUp});
    EXPECT_EQ(sum, 3 * turns);
}

} // namespace

} // namespace storage::tests
