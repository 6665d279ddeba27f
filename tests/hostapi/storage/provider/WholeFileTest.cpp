#include "hostapi/storage/provider/WholeFile.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/ForwardingStream.h"
#include "tests/support/MiscountingProvider.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace storage::tests {

using namespace provider;
using testing::Property;
using testing::Throws;

namespace {

auto throwsCode(ErrorCode code) {
    return Throws<Exception>(Property(&Exception::getErrorCode, code));
}

class WholeFileTest : public testing::Test {
protected:
    WholeFileTest() { buildProvider_V1(&provider_); }

    std::shared_ptr<IProvider> provider_;
    const StorageIRI iri_{u"/f"};
};

TEST_F(WholeFileTest, IsReadBackAtAnySize) {
    constexpr std::size_t block = std::size_t{64} * 1024;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 2 * block,
                                   4 * block, std::size_t{1'000'000}}) {
        std::string bytes;
        for (std::size_t i = 0; i < size; ++i) {
            bytes += static_cast<char>(i * 31 + i / 256);
        }
        writeFile(*provider_, iri_, bytes);
        EXPECT_TRUE(readFile(*provider_, iri_) == bytes) << size;
    }
}

TEST_F(WholeFileTest, IsReadIntoAStringOfItsSize) {
    const std::string bytes(100, 'x');
    writeFile(*provider_, iri_, bytes);
    EXPECT_LE(readFile(*provider_, iri_).capacity(), bytes.size() + 1);
}

TEST_F(WholeFileTest, ReplacesLongerContent) {
    writeFile(*provider_, iri_, "long content");
    writeFile(*provider_, iri_, "short");
    EXPECT_EQ(readFile(*provider_, iri_), "short");
}

TEST_F(WholeFileTest, IsReadWhenReadOnlyAndNotWritten) {
    writeFile(*provider_, iri_, "old");
    provider_->doSetWritable(iri_, false);
    EXPECT_THAT([&] { writeFile(*provider_, iri_, "new"); }, throwsCode(ErrorCode::ReadOnly));
    EXPECT_EQ(readFile(*provider_, iri_), "old");
}

TEST_F(WholeFileTest, ThrowsNotFoundForAMissingFile) {
    EXPECT_THAT([&] { readFile(*provider_, iri_); }, throwsCode(ErrorCode::NotFound));
    EXPECT_THAT([&] { writeFile(*provider_, StorageIRI(u"/missing/f"), ""); },
                throwsCode(ErrorCode::NotFound));
}

TEST_F(WholeFileTest, IsCombinedFromShortReads) {
    writeFile(*provider_, iri_, "bytes");
    MiscountingProvider provider(provider_);
    provider.copied = [](long) { return 1L; };
    EXPECT_EQ(readFile(provider, iri_), "bytes");
}

TEST_F(WholeFileTest, FailsOnAShortWrite) {
    MiscountingProvider provider(provider_);
    provider.written = [](long count) { return count - 1; };
    EXPECT_THROW(writeFile(provider, iri_, "bytes"), std::runtime_error);
}

/// Hides written bytes from others until they are flushed.
class WriteBehindProvider final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const OpenOptions& options) const override {
        return std::make_unique<Stream>(HookedProvider::doOpenStream(iri, options));
    }

private:
    class Stream final : public ForwardingStream {
    public:
        using ForwardingStream::ForwardingStream;

        long write(const char* buffer, long count) override {
            held_.append(buffer, static_cast<std::size_t>(count));
            return count;
        }
        void flush() override { inner().write(held_.data(), static_cast<long>(held_.size())); }

    private:
        std::string held_;
    };
};

TEST_F(WholeFileTest, IsFlushed) {
    writeFile(WriteBehindProvider(provider_), iri_, "bytes");
    EXPECT_EQ(readFile(*provider_, iri_), "bytes");
}

TEST_F(WholeFileTest, IsNotCreatedIfItExists) {
    writeFile(*provider_, iri_, "old");
    EXPECT_THAT([&] { openNewFile(*provider_, iri_); }, throwsCode(ErrorCode::AlreadyExists));
    EXPECT_EQ(readFile(*provider_, iri_), "old");
}

TEST_F(WholeFileTest, IsOpenedWhenItIsNew) {
    writeAll(*openNewFile(*provider_, iri_), "new");
    EXPECT_EQ(readFile(*provider_, iri_), "new");
}

TEST_F(WholeFileTest, IsNotCreatedAgainWhenAnotherThreadRemovesIt) {
    const HookedProvider raced(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "openStream") {
            provider_->doRemoveFile(iri);
        }
    });
    EXPECT_THAT([&] { openNewFile(raced, iri_); }, throwsCode(ErrorCode::NotFound));
    EXPECT_FALSE(provider_->doFileExists(iri_));
}

} // namespace

} // namespace storage::tests
