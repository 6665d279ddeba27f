#include "hostapi/storage/iostream/FileIostream.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WholeFile.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/support/HookedProvider.h"

#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage::tests {

using namespace provider;
using testing::ElementsAre;

namespace {

/// A C++ stream on the file /f of an in-memory storage. Its reads and writes can be made to fail.
class FileIostreamTest : public testing::Test {
protected:
    FileIostreamTest() {
        std::shared_ptr<IProvider> inner;
        buildProvider_V1(&inner);
        provider_ = std::make_unique<HookedProvider>(std::move(inner));
    }

    void fill(std::string_view bytes) const { writeFile(*provider_, iri_, bytes); }
    std::string content() const { return readFile(*provider_, iri_); }

    std::unique_ptr<HookedProvider> provider_;
    const StorageIRI iri_{u"/f"};
};

TEST_F(FileIostreamTest, FormatsAndParses) {
    FileIostream file(provider_->doOpenStream(iri_, {}));
    file << "hello " << 42 << '\n' << std::flush;
    EXPECT_EQ(content(), "hello 42\n");
    file.seekg(6);
    int number = 0;
    file >> number;
    EXPECT_EQ(number, 42);
}

TEST_F(FileIostreamTest, ReadsLinesToTheEndWithoutAnException) {
    fill("one\ntwo\n");
    FileIostream file(provider_->doOpenReadOnlyStream(iri_));
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    EXPECT_THAT(lines, ElementsAre("one", "two"));
    EXPECT_TRUE(file.eof());
}

TEST_F(FileIostreamTest, HasOnePositionForReadingAndWriting) {
    fill("abcdef");
    FileIostream file(provider_->doOpenStream(iri_, {}));
    EXPECT_EQ(file.get(), 'a');
    file << 'X' << std::flush;
    EXPECT_EQ(file.get(), 'c');
    EXPECT_EQ(content(), "aXcdef");
}

TEST_F(FileIostreamTest, AppendsFromAnyPosition) {
    fill("abc");
    FileIostream file(provider_->doOpenStream(iri_, ByteStreamOpenOptions::createOrAppend()));
    file << "def" << std::flush;
    EXPECT_EQ(content(), "abcdef");
}

TEST_F(FileIostreamTest, CopiesMoreThanItsBufferHolds) {
    std::string large;
    for (int i = 0; i < 100'000; ++i) {
        large += static_cast<char>(i * 7 + i / 256);
    }
    FileIostream file(provider_->doOpenStream(iri_, {}));
    file << large << std::flush;
    EXPECT_TRUE(content() == large);
    file.seekg(0);
    std::string read(large.size(), '\0');
    file.read(read.data(), static_cast<std::streamsize>(read.size()));
    EXPECT_TRUE(read == large);
}

TEST_F(FileIostreamTest, WritesItsBufferWhenDestroyed) {
    { FileIostream(provider_->doOpenStream(iri_, {})) << "held back"; }
    EXPECT_EQ(content(), "held back");
}

TEST_F(FileIostreamTest, RethrowsExceptionsOfTheStorage) {
    fill("abc");
    FileIostream file(provider_->doOpenStream(iri_, {}));
    provider_->beforeRead = [&] { throw Exception(ErrorCode::ReadOnly, iri_); };
    EXPECT_THROW(file.get(), Exception);
    EXPECT_TRUE(file.bad());
}

TEST_F(FileIostreamTest, ThrowsWhenAFlushFails) {
    FileIostream file(provider_->doOpenStream(iri_, {}));
    provider_->beforeWrite = [] { throw std::bad_alloc(); };
    EXPECT_NO_THROW(file << "held back");
    EXPECT_THROW(file.flush(), std::ios_base::failure);
}

TEST_F(FileIostreamTest, ThrowsNothingWhenDestroyed) {
    provider_->beforeWrite = [] { throw std::bad_alloc(); };
    EXPECT_NO_THROW({ FileIostream(provider_->doOpenStream(iri_, {})) << "held back"; });
    EXPECT_EQ(content(), "");
}

TEST_F(FileIostreamTest, DoesNotThrowWhenExceptionsAreDisabled) {
    fill("abc");
    FileIostream file(provider_->doOpenStream(iri_, {}));
    file.exceptions(std::ios_base::goodbit);
    provider_->beforeRead = [] { throw std::bad_alloc(); };
    EXPECT_NO_THROW(file.get());
    EXPECT_TRUE(file.bad());
}

TEST_F(FileIostreamTest, RefusesPositionsOutsideTheFile) {
    fill("abc");
    FileIostream file(provider_->doOpenStream(iri_, {}));
    file.seekg(3);
    EXPECT_EQ(file.tellg(), std::streampos(3));
    EXPECT_THROW(file.seekg(4), std::ios_base::failure);
}

TEST_F(FileIostreamTest, RefusesANullStream) {
    EXPECT_THROW(FileIostream(nullptr), std::runtime_error);
}

/// Counts its flushes in `flushed`. Reads return no bytes, and writes accept all.
class FlushCountingStream final : public ByteStream {
public:
    explicit FlushCountingStream(int& flushed) : flushed_(flushed) {}

    long read(char*, long) override { return -1; }
    long write(const char*, long count) override { return count; }
    std::streampos seek(long, std::ios_base::seekdir) override { return 0; }
    void flush() override { ++flushed_; }

private:
    int& flushed_;
};

TEST(FileIostreamFlushTest, ForwardsFlushesToTheStream) {
    int flushed = 0;
    FileIostream file(std::make_unique<FlushCountingStream>(flushed));
    file << "a" << std::flush;
    EXPECT_EQ(flushed, 1);
}

TEST(FileIostreamFlushTest, FlushesNoStreamThatItHasOnlyRead) {
    int flushed = 0;
    {
        FileIostream file(std::make_unique<FlushCountingStream>(flushed));
        file.get();
        file.clear();
        file.flush();
    }
    EXPECT_EQ(flushed, 0);
}

} // namespace

} // namespace storage::tests
