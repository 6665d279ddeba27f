#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/RunTogether.h"
#include "tests/support/SleepingCall.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <ios>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider::in_memory_file_entry_test {
namespace {

using provider::ByteStreamAppend;

const boost::posix_time::ptime someTime(boost::gregorian::date(2001, 2, 3));

class InMemoryFileEntryTest : public testing::Test {
protected:
    static InMemoryEntryPath path() { return InMemoryEntryPath(u"/f"); }

    static std::string bytes(InMemoryFileEntry& entry) {
        const auto content = entry.getContent();
        return {content->begin(), content->end()};
    }

    InMemoryFileEntry file{path(), someTime, true};
    unsigned long position = 0;
};

TEST_F(InMemoryFileEntryTest, StartsEmptyWithItsOwnContentAndMutex) {
    InMemoryFileEntry other(path(), someTime, true);
    ASSERT_NE(file.getContent(), nullptr);
    EXPECT_TRUE(file.getContent()->empty());
    EXPECT_EQ(file.getFileSize(), 0U);
    EXPECT_NE(file.getContent(), other.getContent());
    EXPECT_NE(file.getMutex(), other.getMutex());
}

TEST_F(InMemoryFileEntryTest, SharesContentAndMutexThatOutliveIt) {
    auto dropped = std::make_unique<InMemoryFileEntry>(path(), someTime, true);
    dropped->write("abc", 3, position, ByteStreamAppend::AppendAtEnd);
    const auto mutex = dropped->getMutex();
    auto content = dropped->getContent();
    dropped.reset();
    EXPECT_EQ(content->size(), 3U);
    content.reset();
    const std::lock_guard lock(*mutex);
}

TEST_F(InMemoryFileEntryTest, CreatesAMutexForBytesGivenWithoutOne) {
    const auto content = std::make_shared<std::vector<std::uint8_t>>(3);
    InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, content);
    EXPECT_EQ(other.getContent(), content);
    ASSERT_NE(other.getMutex(), nullptr);
    EXPECT_EQ(other.getFileSize(), 3U);
}

TEST_F(InMemoryFileEntryTest, KeepsItsContent) {
    const auto content = file.getContent();
    file.write("abc", 3, position, ByteStreamAppend::WriteAtPosition);
    file.truncate();
    file.write("d", 1, position, ByteStreamAppend::AppendAtEnd);
    EXPECT_EQ(file.getContent(), content);
    EXPECT_EQ(bytes(file), "d");
}

TEST_F(InMemoryFileEntryTest, WaitsForTheMutexInEachOperation) {
    const std::vector<std::function<void()>> operations{
        [&] { file.getFileSize(); },
        [&] { file.truncate(); },
        [&] { file.seek(0, std::ios_base::end, position); },
        [&] { file.write("abc", 3, position, ByteStreamAppend::AppendAtEnd); },
        [&] { file.read(nullptr, 0, position); },
    };
    for (const auto& operation : operations) {
        std::unique_lock held(*file.getMutex());
        auto running = tests::startUntilAsleep(operation);
        EXPECT_EQ(running.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
        held.unlock();
        running.get();
    }
}

/// Two threads share one position on an empty file. Whichever operation is first, the position ends after the
/// bytes.
TEST_F(InMemoryFileEntryTest, ExcludesAccessToASharedPosition) {
    using Operation = void (*)(InMemoryFileEntry&, unsigned long&);
    const Operation seekToEnd = [](InMemoryFileEntry& entry, unsigned long& shared) {
        entry.seek(0, std::ios_base::end, shared);
    };
    const Operation readSome = [](InMemoryFileEntry& entry, unsigned long& shared) {
        std::array<char, 4> buffer{};
        entry.read(buffer.data(), 4, shared);
    };
    const Operation appendNothing = [](InMemoryFileEntry& entry, unsigned long& shared) {
        entry.write("", 0, shared, ByteStreamAppend::AppendAtEnd);
    };
    for (const auto other : {seekToEnd, readSome, appendNothing}) {
        for (int round = 0; round < 500; ++round) {
            InMemoryFileEntry written(path(), someTime, true);
            unsigned long shared = 0;
            tests::runTogether({[&] { written.write("abcd", 4, shared, ByteStreamAppend::WriteAtPosition); },
                                [&] { other(written, shared); }});
            ASSERT_EQ(shared, 4U);
        }
    }
}

TEST_F(InMemoryFileEntryTest, SharesGivenContent) {
    InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, file.getContent());
    other.write("abc", 3, position, ByteStreamAppend::WriteAtPosition);
    EXPECT_EQ(file.getContent(), other.getContent());
    EXPECT_EQ(bytes(file), "abc");
    EXPECT_EQ(file.getFileSize(), 3U);
}

TEST_F(InMemoryFileEntryTest, ReadsWritesAndSeeksAtTheCallersPosition) {
    EXPECT_EQ(file.write("hello", 5, position, ByteStreamAppend::WriteAtPosition), 5);
    EXPECT_EQ(position, 5U);
    EXPECT_EQ(file.seek(-4, std::ios_base::end, position), std::streampos(1));
    std::array<char, 8> buffer{};
    EXPECT_EQ(file.read(buffer.data(), 3, position), 3);
    EXPECT_EQ(std::string(buffer.data()), "ell");
    EXPECT_EQ(position, 4U);
}

TEST_F(InMemoryFileEntryTest, TruncatesSharedBytesAndKeepsTheCapacity) {
    file.write("hello", 5, position, ByteStreamAppend::AppendAtEnd);
    InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, file.getContent());
    const auto content = file.getContent();
    const auto capacity = content->capacity();
    file.truncate();
    EXPECT_EQ(other.getFileSize(), 0U);
    EXPECT_EQ(other.getContent(), content);
    EXPECT_EQ(content->capacity(), capacity);
    EXPECT_EQ(position, 5U);
}

TEST_F(InMemoryFileEntryTest, NeverChangesTimeOrFlag) {
    InMemoryFileEntry readOnly(path(), someTime, false);
    readOnly.write("x", 1, position, ByteStreamAppend::AppendAtEnd);
    readOnly.seek(0, std::ios_base::beg, position);
    char buffer = 0;
    readOnly.read(&buffer, 1, position);
    readOnly.truncate();
    EXPECT_EQ(readOnly.getLastModifiedTime(), someTime);
    EXPECT_FALSE(readOnly.isWritable());
}

/// Two threads append single bytes, each through its own entry over shared bytes.
void appendFromTwoThreads(InMemoryFileEntry& first, InMemoryFileEntry& second, int count) {
    const auto append = [count](InMemoryFileEntry& entry) {
        unsigned long own = 0;
        for (int i = 0; i < count; ++i) {
            entry.write("x", 1, own, ByteStreamAppend::AppendAtEnd);
        }
    };
    std::thread other([&] { append(second); });
    append(first);
    other.join();
}

TEST_F(InMemoryFileEntryTest, ExcludesTheEntryThatSharesItsBytesAndMutex) {
    InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, file.getContent(), file.getMutex());
    appendFromTwoThreads(file, other, 20000);
    EXPECT_EQ(file.getFileSize(), 40000U);
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_file_entry_test
