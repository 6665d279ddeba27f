#include "tests/inmemoryprovider/filesystem/FileSystemFixture.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/EntryExistsException.h"
#include "inmemoryprovider/EntryNotFoundException.h"
#include "inmemoryprovider/ReadOnlyException.h"
#include "tests/inmemoryprovider/ThrowsNaming.h"

#include <array>

namespace storage::inmemoryprovider::in_memory_file_system_check_out_test {
namespace {

using provider::ByteStream;
using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ByteStreamOpenOptions;

class CheckOutTest : public FileSystemFixture {
protected:
    static ByteStreamOpenOptions keeping() { return {}; }

    static ByteStreamOpenOptions mustExist() {
        ByteStreamOpenOptions options;
        options.existence = ByteStreamExistence::MustExist;
        return options;
    }

    static ByteStreamOpenOptions emptying() {
        ByteStreamOpenOptions options;
        options.content = ByteStreamContent::Empty;
        return options;
    }

    static ByteStreamOpenOptions appending() {
        ByteStreamOpenOptions options;
        options.append = ByteStreamAppend::AppendAtEnd;
        return options;
    }

    auto open(const std::u16string& text, const ByteStreamOpenOptions& options) {
        return fileSystem.checkOutFileEntry(path(text), options);
    }

    auto opening(const std::u16string& text, const ByteStreamOpenOptions& options) {
        return [this, text, options] { open(text, options); };
    }

    auto openingToRead(const std::u16string& text) {
        return [this, text] { fileSystem.checkOutFileEntry(path(text)); };
    }

    static std::string readAll(ByteStream& stream) {
        std::array<char, 64> buffer{};
        const long count = stream.read(buffer.data(), buffer.size());
        return count < 0 ? "" : std::string(buffer.data(), static_cast<std::size_t>(count));
    }
};

TEST_F(CheckOutTest, CreatesAMissingFileWithTheTimeOfItsParent) {
    addFolder(u"/a");
    age({u"/", u"/a"});
    const auto stream = open(u"/a/f", keeping());
    EXPECT_EQ(stream->seek(0, std::ios_base::cur), std::streampos(0));
    EXPECT_EQ(bytesOf(u"/a/f"), "");
    EXPECT_TRUE(node(u"/a/f")->isWritable());
    EXPECT_GT(timeOf(u"/a/f"), pastTime);
    EXPECT_EQ(timeOf(u"/a/f"), timeOf(u"/a"));
    EXPECT_EQ(timeOf(u"/"), pastTime);
}

TEST_F(CheckOutTest, StampsOnlyTheFileWhenOpeningAnExistingOne) {
    addFile(u"/f", "0123456789");
    age({u"/", u"/f"});
    const auto stream = open(u"/f", mustExist());
    EXPECT_GT(timeOf(u"/f"), pastTime);
    EXPECT_EQ(timeOf(u"/"), pastTime);
    EXPECT_EQ(readAll(*stream), "0123456789");
}

TEST_F(CheckOutTest, EmptiesTheFileOnRequest) {
    addFile(u"/f", "0123456789");
    const auto content = file(u"/f")->getContent();
    const auto stream = open(u"/f", emptying());
    EXPECT_EQ(bytesOf(u"/f"), "");
    EXPECT_EQ(file(u"/f")->getContent(), content);
}

TEST_F(CheckOutTest, EmptiesOnlyForZeroAndRequiresExistenceOnlyForOne) {
    addFile(u"/f", "0123456789");
    ByteStreamOpenOptions options;
    options.content = static_cast<ByteStreamContent>(5);
    options.existence = static_cast<ByteStreamExistence>(2);
    open(u"/f", options);
    EXPECT_EQ(bytesOf(u"/f"), "0123456789");
    open(u"/new", options);
    EXPECT_TRUE(exists(u"/new"));
}

TEST_F(CheckOutTest, IgnoresTheFirstField) {
    ByteStreamOpenOptions options;
    options.hint = 12345;
    open(u"/f", options)->write("abc", 3);
    EXPECT_EQ(bytesOf(u"/f"), "abc");
}

TEST_F(CheckOutTest, WritesInTheModeOfTheOptions) {
    addFile(u"/f", "0123456789");
    open(u"/f", appending())->write("ab", 2);
    open(u"/f", keeping())->write("xy", 2);
    EXPECT_EQ(bytesOf(u"/f"), "xy23456789ab");
}

TEST_F(CheckOutTest, StampsNothingOnLaterWrites) {
    const auto stream = open(u"/f", keeping());
    age({u"/f", u"/"});
    stream->write("abc", 3);
    EXPECT_EQ(timeOf(u"/f"), pastTime);
    EXPECT_EQ(timeOf(u"/"), pastTime);
}

TEST_F(CheckOutTest, NamesAMissingParent) {
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", opening(u"/a/f", keeping())));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", openingToRead(u"/a/f")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", opening(u"/", keeping())));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"", openingToRead(u"/")));
}

TEST_F(CheckOutTest, RefusesAReadOnlyFileBeforeAnythingElse) {
    addFolder(u"/a");
    addFile(u"/a/f", "abc");
    makeReadOnly(u"/a/f");
    makeReadOnly(u"/a");
    age({u"/a/f"});
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a/f", opening(u"/a/f", emptying())));
    EXPECT_EQ(bytesOf(u"/a/f"), "abc");
    EXPECT_EQ(timeOf(u"/a/f"), pastTime);
}

TEST_F(CheckOutTest, OpensAWritableFileInAReadOnlyFolder) {
    addFolder(u"/a");
    addFile(u"/a/f");
    makeReadOnly(u"/a");
    EXPECT_NE(open(u"/a/f", keeping()), nullptr);
}

TEST_F(CheckOutTest, ChecksForAFolderThenForExistenceThenForAReadOnlyParent) {
    addFolder(u"/a");
    addFolder(u"/a/b");
    makeReadOnly(u"/a");
    age({u"/a"});
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a/b", opening(u"/a/b", mustExist())));
    EXPECT_TRUE(throwsNaming<EntryExistsException>(u"/a/b", opening(u"/a/b", keeping())));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a/f", opening(u"/a/f", mustExist())));
    EXPECT_TRUE(throwsNaming<ReadOnlyException>(u"/a", opening(u"/a/f", keeping())));
    EXPECT_FALSE(exists(u"/a/f"));
    EXPECT_EQ(timeOf(u"/a"), pastTime);
}

TEST_F(CheckOutTest, ChangesNothingWhenOpeningToRead) {
    addFile(u"/f", "abc");
    makeReadOnly(u"/f");
    age({u"/", u"/f"});
    const auto stream = fileSystem.checkOutFileEntry(path(u"/f"));
    EXPECT_EQ(readAll(*stream), "abc");
    EXPECT_EQ(timeOf(u"/f"), pastTime);
    EXPECT_EQ(timeOf(u"/"), pastTime);
}

TEST_F(CheckOutTest, OpensOnlyFilesToRead) {
    addFolder(u"/a");
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/a", openingToRead(u"/a")));
    EXPECT_TRUE(throwsNaming<EntryNotFoundException>(u"/x", openingToRead(u"/x")));
}

TEST_F(CheckOutTest, WritesAtThePositionOfAStreamOpenedToRead) {
    addFile(u"/f", "abc");
    const auto stream = fileSystem.checkOutFileEntry(path(u"/f"));
    stream->write("X", 1);
    EXPECT_EQ(bytesOf(u"/f"), "Xbc");
}

TEST_F(CheckOutTest, SharesTheBytesOfOneFileBetweenStreams) {
    const auto writer = open(u"/f", keeping());
    const auto reader = fileSystem.checkOutFileEntry(path(u"/f"));
    writer->write("hello", 5);
    EXPECT_EQ(readAll(*reader), "hello");
    EXPECT_EQ(fileSystem.getFileEntrySize(path(u"/f")), 5U);
    open(u"/f", emptying());
    EXPECT_EQ(readAll(*reader), "");
    writer->write("abcd", 4);
    EXPECT_EQ(bytesOf(u"/f"), "abcd");
}

TEST_F(CheckOutTest, KeepsAStreamAfterTheRemovalOfItsFile) {
    const auto stream = open(u"/f", keeping());
    fileSystem.removeFileEntry(path(u"/f"));
    EXPECT_EQ(stream->write("abc", 3), 3);
    stream->seek(0, std::ios_base::beg);
    EXPECT_EQ(readAll(*stream), "abc");
    EXPECT_FALSE(exists(u"/f"));
}

TEST_F(CheckOutTest, KeepsAStreamAfterTheDestructionOfTheFileSystem) {
    auto other = std::make_unique<InMemoryFileSystem>();
    const auto stream = other->checkOutFileEntry(path(u"/f"), keeping());
    other.reset();
    EXPECT_EQ(stream->write("abc", 3), 3);
}

TEST_F(CheckOutTest, SharesTheBytesOfAStreamWithTheMovedFile) {
    const auto before = open(u"/f", appending());
    fileSystem.moveFileEntry(path(u"/f"), path(u"/g"), provider::ReplacementPolicy::RefuseExisting);
    const auto after = open(u"/g", appending());
    before->write("ab", 2);
    after->write("cd", 2);
    EXPECT_EQ(bytesOf(u"/g"), "abcd");
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_file_system_check_out_test
