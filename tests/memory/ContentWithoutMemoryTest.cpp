#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/access/ContentIO.h"
#include "inmemoryprovider/filesystem/InMemoryFileEntry.h"
#include "tests/memory/FailingAllocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace storage::tests {
namespace {

using inmemoryprovider::InMemoryEntryPath;
using inmemoryprovider::InMemoryFileEntry;
using inmemoryprovider::writeContent;
using provider::ByteStreamAppend;
using Bytes = std::vector<std::uint8_t>;
using Extent = FailingAllocation::Extent;

/// Contents of this size grow with spare capacity, and free their old pages early.
constexpr std::size_t large = 2U << 20U;

/// Content without spare capacity.
Bytes fullContent(std::size_t size) {
    Bytes content;
    content.reserve(size);
    content.assign(size, 'a');
    return content;
}

void append(Bytes& content, const std::string& text) {
    unsigned long position = 0;
    EXPECT_EQ(writeContent(content, text.data(), static_cast<long>(text.size()), position,
                           ByteStreamAppend::AppendAtEnd),
              static_cast<long>(text.size()));
    EXPECT_EQ(position, content.size());
}

void expectGrown(const Bytes& content, std::size_t oldSize, const std::string& text) {
    ASSERT_EQ(content.size(), oldSize + text.size());
    EXPECT_EQ(Bytes(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(oldSize)),
              Bytes(oldSize, 'a'));
    EXPECT_EQ(std::string(content.begin() + static_cast<std::ptrdiff_t>(oldSize), content.end()), text);
}

TEST(ContentWithoutMemoryTest, GrowsWithLessSlackIfTheFirstAllocationFails) {
    for (const std::size_t size : {large, large + 1, 2 * large}) {
        for (const std::size_t added : {std::size_t{1}, size, 3 * size}) {
            SCOPED_TRACE(testing::Message() << added << " bytes added to " << size);
            auto content = fullContent(size);
            const std::string text(added, 'b');
            {
                const FailingAllocation failure(0);
                append(content, text);
                EXPECT_TRUE(failure.happened());
            }
            expectGrown(content, size, text);
            EXPECT_GE(content.capacity(), 2 * size);
            EXPECT_LT(content.capacity(), 8 * size) << "the generous growth has not failed";
        }
    }
}

TEST(ContentWithoutMemoryTest, IsUnchangedIfNoAllocationSucceeds) {
    for (const std::size_t size : {large - 1, large, 3 * large}) {
        auto content = fullContent(size);
        unsigned long position = 0;
        {
            const FailingAllocation failure(0, Extent::FromThenOn);
            EXPECT_THROW(writeContent(content, "bb", 2, position, ByteStreamAppend::AppendAtEnd),
                         std::bad_alloc);
        }
        EXPECT_EQ(position, size);
        EXPECT_EQ(content.capacity(), size);
        expectGrown(content, size, "");
        append(content, "bb");
        expectGrown(content, size, "bb");
    }
}

/// The constructor allocates the node, its content and its mutex.
TEST(ContentWithoutMemoryTest, CreatesANodeCompletelyOrNotAtAll) {
    const boost::posix_time::ptime someTime(boost::gregorian::date(2001, 2, 3));
    std::shared_ptr<InMemoryFileEntry> file;
    std::size_t failures = 0;
    for (; file == nullptr; ++failures) {
        const FailingAllocation failure(failures);
        try {
            file = std::make_shared<InMemoryFileEntry>(InMemoryEntryPath(u"/f"), someTime, true);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(failure.happened());
        }
    }
    EXPECT_GT(failures, 2U);
    EXPECT_NE(file->getContent(), nullptr);
    EXPECT_NE(file->getMutex(), nullptr);
}

TEST(ContentWithoutMemoryTest, LeavesTheFileEmptyWhenTheAllocationOfAFirstWriteFails) {
    const boost::posix_time::ptime someTime(boost::gregorian::date(2001, 2, 3));
    InMemoryFileEntry file(InMemoryEntryPath(u"/f"), someTime, true);
    unsigned long position = 0;
    {
        const FailingAllocation failure(0);
        EXPECT_THROW(file.write("abc", 3, position, ByteStreamAppend::AppendAtEnd), std::bad_alloc);
    }
    EXPECT_EQ(file.getFileSize(), 0U);
    EXPECT_EQ(position, 0U);
    EXPECT_EQ(file.write("abc", 3, position, ByteStreamAppend::AppendAtEnd), 3);
    EXPECT_EQ(file.getFileSize(), 3U);
}

} // namespace
} // namespace storage::tests
