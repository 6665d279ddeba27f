#include "tests/inmemoryprovider/filesystem/FileSystemFixture.h"

#include "tests/support/Processors.h"
#include "tests/support/SteppedWrites.h"

#include <sched.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <latch>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace storage::inmemoryprovider {
namespace {

using tests::SteppedWrites;

/// Counts the atomic writes of lookups to memory that threads share, by the object written to: the file
/// system, the folder, the file's node, and the file's bytes with their mutex. Plain writes under a mutex go
/// to the line of that mutex.
class SharedWritesTest : public FileSystemFixture {
protected:
    void SetUp() override {
        if (!SteppedWrites::isAvailable()) {
            GTEST_SKIP() << "this processor or build cannot count writes";
        }
        for (const auto* folder : {u"/a", u"/b"}) {
            fileSystem.addFolderEntry(path(folder));
            fileSystem.addFileEntry(path(std::u16string(folder) + u"/file"));
        }
    }

    void TearDown() override {
        sched_setaffinity(0, sizeof processors_, &processors_);
        end_.count_down();
        parked_.join();
    }

    template <class Object>
    static SteppedWrites::Bytes bytesOf(const Object& object, std::size_t controlBlock = 0) {
        const auto* begin = reinterpret_cast<const std::byte*>(&object);
        return {begin - controlBlock, sizeof object + controlBlock};
    }

    /// The writes of the second of two lookups, because the first one binds symbols.
    SteppedWrites::Counts countIn(const std::u16string& folder, const std::function<void()>& lookUp) const {
        constexpr std::size_t controlBlock = 16; // of std::make_shared, in front of the node
        const auto parent = fileSystem.getFolderEntry(path(folder));
        const auto file = parent->getFileEntry(path(folder + u"/file"));
        SteppedWrites stepped({bytesOf(fileSystem), bytesOf(*parent, controlBlock),
                               bytesOf(*file, controlBlock), bytesOf(*file->getMutex())});
        lookUp();
        return stepped.count(lookUp);
    }

    void expectWrites(const std::vector<unsigned>& expected, const std::function<void()>& lookUp) const {
        const auto counts = countIn(u"/a", lookUp);
        EXPECT_EQ(counts.writes, expected);
        EXPECT_EQ(counts.elsewhere, 0);
    }

    const cpu_set_t processors_ = tests::permittedProcessors();

private:
    // The C library omits locks in a process with one thread.
    std::latch end_{1};
    std::thread parked_{[this] { end_.wait(); }};
};

TEST_F(SharedWritesTest, OfTheAttributesOfAFile) {
    const auto file = path(u"/a/file");
    expectWrites({2, 2, 2, 2}, [&] { std::ignore = fileSystem.getFileEntryAttributes(file); });
}

TEST_F(SharedWritesTest, OfAnExistenceTest) {
    expectWrites({2, 2, 0, 0}, [&] { std::ignore = fileSystem.hasFile(u"/a/file"); });
}

TEST_F(SharedWritesTest, OfAMissingName) {
    expectWrites({2, 2, 0, 0}, [&] { std::ignore = fileSystem.hasFile(u"/a/missing"); });
}

TEST_F(SharedWritesTest, OnTwoProcessorsInTwoFoldersHaveNoLineInCommon) {
    if (!tests::runOn(1, processors_)) {
        GTEST_SKIP() << "one processor";
    }
    const auto written = [&](int processor, const std::u16string& folder) {
        EXPECT_TRUE(tests::runOn(processor, processors_));
        const auto file = path(folder + u"/file");
        return countIn(folder, [&] { std::ignore = fileSystem.getFileEntryAttributes(file); }).lines[0];
    };
    const auto first = written(0, u"/a");
    const int processor = sched_getcpu();
    const auto second = written(1, u"/b");
    constexpr int stripes = 64;
    if (processor % stripes == sched_getcpu() % stripes) {
        GTEST_SKIP() << "two processors that share a stripe";
    }
    EXPECT_EQ(first.size(), 1);
    std::vector<std::uintptr_t> both;
    std::set_intersection(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(both));
    EXPECT_TRUE(both.empty());
}

} // namespace
} // namespace storage::inmemoryprovider
