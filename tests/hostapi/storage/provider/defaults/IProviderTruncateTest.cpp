#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"
#include "tests/support/HookedProvider.h"
#include "tests/support/MiscountingProvider.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>

#include <array>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace storage::tests {

using namespace provider;

namespace {

class IProviderTruncateTest : public ProviderTest {
protected:
    IProviderTruncateTest() { makeFile(u"/f", "0123456789"); }

    void truncate(unsigned long long size) const { provider_->doTruncateToSize(iri_, size); }

    const StorageIRI iri_ = at(u"/f");
};

TEST_F(IProviderTruncateTest, KeepsTheFirstBytesOfAShrinkingFile) {
    truncate(9);
    EXPECT_EQ(contentOf(u"/f"), "012345678");
    truncate(1);
    EXPECT_EQ(contentOf(u"/f"), "0");
}

TEST_F(IProviderTruncateTest, FailsOnAShortWrite) {
    for (const unsigned long long size : {5ULL, 20ULL}) {
        MiscountingProvider provider(provider_);
        provider.written = [](long count) { return count - 1; };
        EXPECT_THROW(provider.doTruncateToSize(iri_, size), std::runtime_error) << size;
    }
}

TEST_F(IProviderTruncateTest, FailsOnAFileThatRefusesToMoveThePositionToItsEnd) {
    MiscountingProvider provider(provider_);
    provider.sought = [](std::streamoff) { return -1; };
    EXPECT_THROW(provider.doTruncateToSize(iri_, 20), std::runtime_error);
    EXPECT_EQ(contentOf(u"/f"), "0123456789");
}

TEST_F(IProviderTruncateTest, EmptiesAFile) {
    truncate(0);
    EXPECT_EQ(contentOf(u"/f"), "");
    truncate(0);
    EXPECT_EQ(contentOf(u"/f"), "");
}

TEST_F(IProviderTruncateTest, FillsAGrowingFileWithZeros) {
    truncate(11);
    EXPECT_EQ(contentOf(u"/f"), std::string("0123456789\0", 11));
    truncate(13);
    EXPECT_EQ(contentOf(u"/f"), std::string("0123456789\0\0\0", 13));
}

TEST_F(IProviderTruncateTest, GrowsByAnyNumberOfBlocks) {
    for (const std::size_t added : {std::size_t{65535}, std::size_t{65536}, std::size_t{65537 + 65536}}) {
        truncate(10);
        truncate(10 + added);
        EXPECT_TRUE(contentOf(u"/f") == "0123456789" + std::string(added, '\0')) << added;
    }
}

TEST_F(IProviderTruncateTest, GrowsToTheSizeWhileAnotherThreadGrowsTheFile) {
    for (const std::string moment : {"openStream", "seek"}) {
        truncate(10);
        bool isFirst = true;
        const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI&) {
            if (operation == moment && std::exchange(isFirst, false)) {
                truncate(200000);
            }
        });
        raced.doTruncateToSize(iri_, 200000);
        EXPECT_EQ(provider_->doGetFileAttributes(iri_).getSize(), 200000U) << moment;
        EXPECT_FALSE(isFirst);
    }
}

TEST_F(IProviderTruncateTest, SetsTheTime) {
    const boost::posix_time::ptime old(boost::gregorian::date(2000, 1, 1));
    for (const unsigned long long size : {5ULL, 10ULL, 10ULL}) {
        provider_->doSetLastModified(iri_, old);
        truncate(size);
        EXPECT_NE(provider_->doGetFileAttributes(iri_).getLastModified(), old) << size;
    }
}

TEST_F(IProviderTruncateTest, ShrinksFilesOfManyBlocks) {
    std::string content;
    for (int i = 0; i < 200'000; ++i) {
        content += static_cast<char>(i * 7 + i / 256);
    }
    makeFile(u"/large", content);
    provider_->doTruncateToSize(at(u"/large"), 150'001);
    EXPECT_TRUE(contentOf(u"/large") == content.substr(0, 150'001));
}

TEST_F(IProviderTruncateTest, KeepsTheBytesOfAFileThatAlreadyHasTheSize) {
    truncate(10);
    EXPECT_EQ(contentOf(u"/f"), "0123456789");
}

TEST_F(IProviderTruncateTest, ShowsTheChangeToOpenStreams) {
    const auto stream = provider_->doOpenReadOnlyStream(iri_);
    truncate(4);
    std::array<char, 10> buffer{};
    EXPECT_EQ(stream->seek(0, std::ios_base::end), std::streampos(4));
    EXPECT_EQ(stream->seek(0, std::ios_base::beg), std::streampos(0));
    EXPECT_EQ(stream->read(buffer.data(), 10), 4);
}

TEST_F(IProviderTruncateTest, NamesAMissingFileOrAFolderAndCreatesNothing) {
    makeFolder(u"/d");
    for (const unsigned long long size : {0ULL, 5ULL}) {
        EXPECT_THAT([&] { provider_->doTruncateToSize(at(u"/missing"), size); },
                    failsWith(ErrorCode::NotFound, at(u"/missing")));
        EXPECT_THAT([&] { provider_->doTruncateToSize(at(u"/d"), size); },
                    failsWith(ErrorCode::NotFound, at(u"/d")));
    }
    EXPECT_FALSE(provider_->doFileExists(at(u"/missing")));
}

TEST_F(IProviderTruncateTest, NamesAReadOnlyFileForEverySize) {
    makeReadOnly(u"/f");
    for (const unsigned long long size : {0ULL, 5ULL, 10ULL, 15ULL}) {
        EXPECT_THAT([&] { truncate(size); }, failsWith(ErrorCode::ReadOnly, iri_)) << size;
    }
    EXPECT_EQ(contentOf(u"/f"), "0123456789");
}

TEST_F(IProviderTruncateTest, RefusesSizesAboveTheMaximum) {
    constexpr unsigned long long largest = std::numeric_limits<unsigned long long>::max();
    constexpr unsigned long long tooLarge =
        static_cast<unsigned long long>(std::numeric_limits<long>::max()) + 1;
    EXPECT_THROW(truncate(largest), std::length_error);
    EXPECT_THROW(truncate(tooLarge), std::length_error);
    EXPECT_EQ(contentOf(u"/f"), "0123456789");
}

TEST_F(IProviderTruncateTest, LosesNothingIfTheRemainingBytesCannotBeAllocated) {
    const HookedProvider failing(provider_, [](const std::string& operation, const StorageIRI&) {
        if (operation == "openReadOnlyStream") {
            throw std::bad_alloc();
        }
    });
    EXPECT_THROW(failing.doTruncateToSize(iri_, 5), std::bad_alloc);
    EXPECT_EQ(contentOf(u"/f"), "0123456789");
}

TEST_F(IProviderTruncateTest, KeepsTheRemainderOfAFileThatAnotherThreadShrinksMeanwhile) {
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "openReadOnlyStream") {
            provider_->doTruncateToSize(iri, 3);
        }
    });
    raced.doTruncateToSize(iri_, 5);
    EXPECT_EQ(contentOf(u"/f"), "012");
}

TEST_F(IProviderTruncateTest, DoesNotCreateAFileThatAnotherThreadRemovesMeanwhile) {
    for (const unsigned long long size : {5ULL, 15ULL}) {
        if (!provider_->doFileExists(iri_)) {
            makeFile(u"/f", "0123456789");
        }
        const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
            if (operation == "openStream") {
                provider_->doRemoveFile(iri);
            }
        });
        EXPECT_THAT([&] { raced.doTruncateToSize(iri_, size); }, failsWith(ErrorCode::NotFound, iri_));
        EXPECT_FALSE(provider_->doFileExists(iri_));
    }
}

} // namespace

} // namespace storage::tests
