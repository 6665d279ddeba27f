#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"

#include "tests/support/RunTogether.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace storage::inmemoryprovider::in_memory_file_entry_test {
namespace {

using foundation::storage::provider::ByteStreamAppend;

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

TEST_F(InMemoryFileEntryTest, beginsEmptyWithContentOfItsOwn) {
    ASSERT_NE(file.getContent(), nullptr);
    EXPECT_TRUE(file.getContent()->empty());
    EXPECT_EQ(file.getFileSize(), 0U);
}

TEST_F(InMemoryFileEntryTest, isAnEmptyFileBeforeItHasContent) {
    EXPECT_FALSE(file.hasContent());
    EXPECT_EQ(file.getFileSize(), 0U);
    char buffer = 'x';
    EXPECT_EQ(file.read(&buffer, 1, position), -1);
    EXPECT_EQ(file.read(&buffer, 0, position), -1);
    EXPECT_EQ(file.read(&buffer, -1, position), -1);
    EXPECT_EQ(buffer, 'x');
    EXPECT_EQ(file.seek(0, std::ios_base::end, position), std::streampos(0));
    EXPECT_EQ(file.seek(1, std::ios_base::beg, position), std::streampos(-1));
    EXPECT_EQ(file.seek(-1, std::ios_base::cur, position), std::streampos(-1));
    file.truncate();
    EXPECT_EQ(position, 0U);
    EXPECT_FALSE(file.hasContent()) << "none of these needs any";
}

TEST_F(InMemoryFileEntryTest, leavesAPositionBehindTheEndWhereItIsBeforeItHasContent) {
    position = 7;
    char buffer = 0;
    EXPECT_EQ(file.read(&buffer, 1, position), -1);
    EXPECT_EQ(file.seek(0, std::ios_base::cur, position), std::streampos(-1));
    EXPECT_EQ(position, 7U);
    EXPECT_EQ(file.seek(-7, std::ios_base::cur, position), std::streampos(0));
}

TEST_F(InMemoryFileEntryTest, keepsTheContentThatWasAskedForFirst) {
    const auto content = file.getContent();
    ASSERT_NE(content, nullptr);
    EXPECT_TRUE(file.hasContent());
    file.write("abc", 3, position, ByteStreamAppend::WriteAtPosition);
    file.truncate();
    file.write("d", 1, position, ByteStreamAppend::AppendAtEnd);
    EXPECT_EQ(file.getContent(), content);
    EXPECT_EQ(bytes(file), "d");
}

TEST_F(InMemoryFileEntryTest, keepsTheContentThatWasMadeByTheFirstWrite) {
    file.write("abc", 3, position, ByteStreamAppend::WriteAtPosition);
    EXPECT_TRUE(file.hasContent());
    EXPECT_EQ(bytes(file), "abc");
    EXPECT_EQ(file.getContent(), file.getContent());
}

TEST_F(InMemoryFileEntryTest, hasContentFromTheBeginningWhenItIsGivenSome) {
    const InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, file.getContent());
    EXPECT_TRUE(other.hasContent());
}

TEST_F(InMemoryFileEntryTest, givesTheSameContentToAllWhoAskForItAtOnce) {
    for (int round = 0; round < 500; ++round) {
        InMemoryFileEntry asked(path(), someTime, true);
        std::array<std::shared_ptr<std::vector<std::uint8_t>>, 2> contents;
        tests::runTogether(
            {[&] { contents[0] = asked.getContent(); }, [&] { contents[1] = asked.getContent(); }});
        ASSERT_NE(contents[0], nullptr);
        ASSERT_EQ(contents[0], contents[1]);
        ASSERT_EQ(asked.getContent(), contents[0]);
    }
}

TEST_F(InMemoryFileEntryTest, losesNoByteOfTwoFirstWritesAtOnce) {
    for (int round = 0; round < 500; ++round) {
        InMemoryFileEntry written(path(), someTime, true);
        std::uint64_t seen = 0;
        const auto append = [&] {
            unsigned long own = 0;
            written.write("x", 1, own, ByteStreamAppend::AppendAtEnd);
        };
        const auto look = [&] {
            char buffer = 0;
            unsigned long own = 0;
            seen = written.getFileSize();
            const long count = written.read(&buffer, 1, own);
            EXPECT_TRUE(count == 1 ? buffer == 'x' : seen == 0 && count == -1);
        };
        tests::runTogether({append, append, look});
        ASSERT_EQ(bytes(written), "xx");
    }
}

TEST_F(InMemoryFileEntryTest, sharesTheContentItIsGiven) {
    InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, file.getContent());
    other.write("abc", 3, position, ByteStreamAppend::WriteAtPosition);
    EXPECT_EQ(file.getContent(), other.getContent());
    EXPECT_EQ(bytes(file), "abc");
    EXPECT_EQ(file.getFileSize(), 3U);
}

TEST_F(InMemoryFileEntryTest, readsWritesAndSeeksAtTheCallersPosition) {
    EXPECT_EQ(file.write("hello", 5, position, ByteStreamAppend::WriteAtPosition), 5);
    EXPECT_EQ(position, 5U);
    EXPECT_EQ(file.seek(-4, std::ios_base::end, position), std::streampos(1));
    std::array<char, 8> buffer{};
    EXPECT_EQ(file.read(buffer.data(), 3, position), 3);
    EXPECT_EQ(std::string(buffer.data()), "ell");
    EXPECT_EQ(position, 4U);
}

TEST_F(InMemoryFileEntryTest, truncationEmptiesAllWhoShareTheBytesAndKeepsTheirMemory) {
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

TEST_F(InMemoryFileEntryTest, neverTouchesTimeOrFlag) {
    InMemoryFileEntry readOnly(path(), someTime, false);
    readOnly.write("x", 1, position, ByteStreamAppend::AppendAtEnd);
    readOnly.seek(0, std::ios_base::beg, position);
    char buffer = 0;
    readOnly.read(&buffer, 1, position);
    readOnly.truncate();
    EXPECT_EQ(readOnly.getLastModifiedTime(), someTime);
    EXPECT_FALSE(readOnly.isWritable());
}

/// Appends single bytes from two threads, each through an entry of its own over shared bytes.
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

TEST_F(InMemoryFileEntryTest, excludesTheEntryThatSharesItsBytes) {
    InMemoryFileEntry other(InMemoryEntryPath(u"/g"), someTime, true, file.getContent());
    appendFromTwoThreads(file, other, 20000);
    EXPECT_EQ(file.getFileSize(), 40000U);
}

TEST_F(InMemoryFileEntryTest, excludesTheEntryThatSharesBytesMadeElsewhere) {
    const auto content = std::make_shared<std::vector<std::uint8_t>>();
    InMemoryFileEntry one(InMemoryEntryPath(u"/g"), someTime, true, content);
    InMemoryFileEntry two(InMemoryEntryPath(u"/h"), someTime, true, content);
    appendFromTwoThreads(one, two, 20000);
    EXPECT_EQ(content->size(), 40000U);
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_file_entry_test
