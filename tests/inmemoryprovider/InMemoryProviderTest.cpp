#include "inmemoryprovider/InMemoryProvider.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

namespace storage::inmemoryprovider::in_memory_provider_test {
namespace {

using namespace provider;

const boost::posix_time::ptime pastTime(boost::gregorian::date(2001, 2, 3),
                                        boost::posix_time::microseconds(4));

/// Checks that `call` throws exactly the host's exception with this code and location.
template <class Call>
testing::AssertionResult fails(ErrorCode code, const StorageIRI& iri, const Call& call) {
    try {
        call();
    } catch (const Exception& error) {
        if (error.getErrorCode() == code && error.getIRI() == iri) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "threw: " << error.what();
    }
    return testing::AssertionFailure() << "threw nothing";
}

StorageIRI at(const std::u16string& path) {
    return StorageIRI(path);
}

class InMemoryProviderTest : public testing::Test {
protected:
    void write(const std::u16string& path, const std::string& bytes) {
        provider->doOpenStream(at(path), {})->write(bytes.data(), static_cast<long>(bytes.size()));
    }

    std::string read(const std::u16string& path) {
        std::array<char, 64> buffer{};
        const long count = provider->doOpenReadOnlyStream(at(path))->read(buffer.data(), buffer.size());
        return count < 0 ? "" : std::string(buffer.data(), static_cast<std::size_t>(count));
    }

    static std::vector<FolderEntry> rest(IFolderEntryIterator& iterator) {
        std::vector<FolderEntry> entries;
        while (iterator.hasNext()) {
            iterator.step();
            entries.push_back(iterator.getEntry());
        }
        return entries;
    }

    std::shared_ptr<IProvider> provider = std::make_shared<InMemoryProvider>();
};

TEST_F(InMemoryProviderTest, ClaimsOneFeature) {
    EXPECT_TRUE(provider->doHasFeature(static_cast<ExtendedFeature>(6)));
    for (const int other :
         {0, 1, 5, 7, -6, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_FALSE(provider->doHasFeature(static_cast<ExtendedFeature>(other)));
    }
}

TEST_F(InMemoryProviderTest, BeginsWithARootThatIsAFolder) {
    EXPECT_TRUE(provider->doFolderExists(at(u"/")));
    EXPECT_FALSE(provider->doFileExists(at(u"/")));
    EXPECT_FALSE(provider->doListAll(at(u"/"))->hasNext());
}

TEST_F(InMemoryProviderTest, RecognizesTheRootByMissingParentOrSingleSeparator) {
    const StorageIRI withoutParent(u"/anything", u"/anything", false);
    const StorageIRI separator(u"/", u"/mount", true);
    const StorageIRI empty(u"", u"", true);
    const StorageIRI twoSeparators(u"//", u"//", true);
    for (const auto& root : {withoutParent, separator}) {
        EXPECT_TRUE(provider->doFolderExists(root));
        EXPECT_FALSE(provider->doFileExists(root));
        EXPECT_TRUE(provider->doGetFolderAttributes(root).isWritable());
    }
    for (const auto& other : {empty, twoSeparators}) {
        EXPECT_FALSE(provider->doFolderExists(other));
        EXPECT_FALSE(provider->doFileExists(other));
        EXPECT_TRUE(fails(ErrorCode::NotFound, other, [&] { provider->doGetFolderAttributes(other); }));
        EXPECT_TRUE(fails(ErrorCode::NotFound, other, [&] { provider->doSetLastModified(other, pastTime); }));
    }
}

TEST_F(InMemoryProviderTest, CreatesAndFindsFilesAndFolders) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFile(at(u"/a/f"));
    EXPECT_TRUE(provider->doFolderExists(at(u"/a")));
    EXPECT_FALSE(provider->doFileExists(at(u"/a")));
    EXPECT_TRUE(provider->doFileExists(at(u"/a/f")));
    EXPECT_FALSE(provider->doFolderExists(at(u"/a/f")));
}

TEST_F(InMemoryProviderTest, NeverThrowsFromExistenceTestsOfMissingEntries) {
    for (const auto* path : {u"/x", u"/x/y", u"", u"a"}) {
        EXPECT_FALSE(provider->doFileExists(StorageIRI(path, path, true)));
        EXPECT_FALSE(provider->doFolderExists(StorageIRI(path, path, true)));
    }
}

TEST_F(InMemoryProviderTest, ReportsFailedCreations) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFile(at(u"/f"));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/a"), [&] { provider->doCreateFolder(at(u"/a")); }));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/f"), [&] { provider->doCreateFile(at(u"/f")); }));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/"), [&] { provider->doCreateFolder(at(u"/")); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/"), [&] { provider->doCreateFile(at(u"/")); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/x/y"), [&] { provider->doCreateFolder(at(u"/x/y")); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/x/y"), [&] { provider->doCreateFile(at(u"/x/y")); }));
    provider->doSetWritable(at(u"/a"), false);
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/a/g"), [&] { provider->doCreateFile(at(u"/a/g")); }));
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/a/b"), [&] { provider->doCreateFolder(at(u"/a/b")); }));
}

TEST_F(InMemoryProviderTest, RemovesFilesAndFolders) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFile(at(u"/f"));
    provider->doRemoveFolder(at(u"/a"));
    provider->doRemoveFile(at(u"/f"));
    EXPECT_FALSE(provider->doFolderExists(at(u"/a")));
    EXPECT_FALSE(provider->doFileExists(at(u"/f")));
}

TEST_F(InMemoryProviderTest, ReportsFailedRemovals) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFile(at(u"/a/f"));
    EXPECT_TRUE(fails(ErrorCode::FolderNotEmpty, at(u"/a"), [&] { provider->doRemoveFolder(at(u"/a")); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/a/f"), [&] { provider->doRemoveFolder(at(u"/a/f")); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/a"), [&] { provider->doRemoveFile(at(u"/a")); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/"), [&] { provider->doRemoveFolder(at(u"/")); }));
    provider->doSetWritable(at(u"/a/f"), false);
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/a/f"), [&] { provider->doRemoveFile(at(u"/a/f")); }));
    provider->doCreateFolder(at(u"/b"));
    provider->doSetWritable(at(u"/b"), false);
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/b"), [&] { provider->doRemoveFolder(at(u"/b")); }));
}

TEST_F(InMemoryProviderTest, DescribesFiles) {
    write(u"/f", "12345");
    provider->doSetLastModified(at(u"/f"), pastTime);
    const auto attributes = provider->doGetFileAttributes(at(u"/f"));
    EXPECT_EQ(attributes.getSize(), 5U);
    EXPECT_EQ(attributes.getLastModified(), pastTime);
    EXPECT_TRUE(attributes.isWritable());
}

TEST_F(InMemoryProviderTest, ReturnsAttributesOfFoldersAndTheRoot) {
    provider->doCreateFolder(at(u"/a"));
    for (const auto* path : {u"/a", u"/"}) {
        provider->doSetLastModified(at(path), pastTime);
        provider->doSetWritable(at(path), false);
        const auto attributes = provider->doGetFolderAttributes(at(path));
        EXPECT_EQ(attributes.getLastModified(), pastTime);
        EXPECT_FALSE(attributes.isWritable());
    }
}

TEST_F(InMemoryProviderTest, ReportsFailedAttributeQueries) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFile(at(u"/f"));
    for (const auto* path : {u"/a", u"/x", u"/x/y", u"/"}) {
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doGetFileAttributes(at(path)); }));
    }
    for (const auto* path : {u"/f", u"/x", u"/x/y"}) {
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doGetFolderAttributes(at(path)); }));
    }
}

TEST_F(InMemoryProviderTest, SetsTimeAndFlagOfAReadOnlyEntry) {
    provider->doCreateFile(at(u"/f"));
    provider->doSetWritable(at(u"/f"), false);
    EXPECT_FALSE(provider->doGetFileAttributes(at(u"/f")).isWritable());
    provider->doSetLastModified(at(u"/f"), pastTime);
    EXPECT_EQ(provider->doGetFileAttributes(at(u"/f")).getLastModified(), pastTime);
    provider->doSetWritable(at(u"/f"), true);
    EXPECT_TRUE(provider->doGetFileAttributes(at(u"/f")).isWritable());
}

TEST_F(InMemoryProviderTest, ReportsFailedSetters) {
    for (const auto* path : {u"/x", u"/x/y"}) {
        EXPECT_TRUE(
            fails(ErrorCode::NotFound, at(path), [&] { provider->doSetLastModified(at(path), pastTime); }));
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doSetWritable(at(path), false); }));
    }
}

TEST_F(InMemoryProviderTest, SetsTheWritableFlagByTheGivenPath) {
    provider->doCreateFile(at(u"/given"));
    provider->doCreateFile(at(u"/resolved"));
    provider->doSetWritable(StorageIRI(u"/resolved", u"/given", true), false);
    EXPECT_FALSE(provider->doGetFileAttributes(at(u"/given")).isWritable());
    EXPECT_TRUE(provider->doGetFileAttributes(at(u"/resolved")).isWritable());
}

TEST_F(InMemoryProviderTest, SetsTheTimeByTheResolvedPath) {
    provider->doCreateFile(at(u"/given"));
    provider->doCreateFile(at(u"/resolved"));
    provider->doSetLastModified(StorageIRI(u"/resolved", u"/given", true), pastTime);
    EXPECT_NE(provider->doGetFileAttributes(at(u"/given")).getLastModified(), pastTime);
    EXPECT_EQ(provider->doGetFileAttributes(at(u"/resolved")).getLastModified(), pastTime);
}

TEST_F(InMemoryProviderTest, SetsTheWritableFlagOfTheRootByALocationWithoutParent) {
    const StorageIRI resolvedToRoot(u"/", u"/", true);
    EXPECT_TRUE(
        fails(ErrorCode::NotFound, resolvedToRoot, [&] { provider->doSetWritable(resolvedToRoot, false); }));
    EXPECT_TRUE(provider->doGetFolderAttributes(at(u"/")).isWritable());
    provider->doSetWritable(StorageIRI(u"/elsewhere", u"/elsewhere", false), false);
    EXPECT_FALSE(provider->doGetFolderAttributes(at(u"/")).isWritable());
}

TEST_F(InMemoryProviderTest, OpensStreamsAccordingToTheOptions) {
    write(u"/f", "0123456789");
    ByteStreamOpenOptions options;
    options.append = ByteStreamAppend::AppendAtEnd;
    provider->doOpenStream(at(u"/f"), options)->write("a", 1);
    EXPECT_EQ(read(u"/f"), "0123456789a");
    options.content = ByteStreamContent::Empty;
    provider->doOpenStream(at(u"/f"), options);
    EXPECT_EQ(read(u"/f"), "");
}

TEST_F(InMemoryProviderTest, SharesTheBytesBetweenStreams) {
    const auto writer = provider->doOpenStream(at(u"/f"), {});
    const auto reader = provider->doOpenReadOnlyStream(at(u"/f"));
    writer->write("abc", 3);
    std::array<char, 8> buffer{};
    EXPECT_EQ(reader->read(buffer.data(), buffer.size()), 3);
    EXPECT_EQ(std::string(buffer.data()), "abc");
    EXPECT_EQ(provider->doGetFileAttributes(at(u"/f")).getSize(), 3U);
}

TEST_F(InMemoryProviderTest, ReportsFailedOpenings) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFile(at(u"/f"));
    provider->doSetWritable(at(u"/f"), false);
    ByteStreamOpenOptions mustExist;
    mustExist.existence = ByteStreamExistence::MustExist;
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/a"), [&] { provider->doOpenStream(at(u"/a"), {}); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/x"), [&] { provider->doOpenStream(at(u"/x"), mustExist); }));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/x/y"), [&] { provider->doOpenStream(at(u"/x/y"), {}); }));
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/f"), [&] { provider->doOpenStream(at(u"/f"), {}); }));
    for (const auto* path : {u"/a", u"/x", u"/x/y", u"/"}) {
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doOpenReadOnlyStream(at(path)); }));
    }
    EXPECT_NE(provider->doOpenReadOnlyStream(at(u"/f")), nullptr);
}

TEST_F(InMemoryProviderTest, ListsByKindInTheOrderOfPaths) {
    provider->doCreateFolder(at(u"/d"));
    provider->doCreateFile(at(u"/d/b"));
    provider->doCreateFolder(at(u"/d/a"));
    const FolderEntry folder(u"a", FolderEntry::EntryType::Folder);
    const FolderEntry file(u"b", FolderEntry::EntryType::File);
    EXPECT_EQ(rest(*provider->doListAll(at(u"/d"))), (std::vector{folder, file}));
    EXPECT_EQ(rest(*provider->doListFiles(at(u"/d"))), (std::vector{file}));
    EXPECT_EQ(rest(*provider->doListFolders(at(u"/d"))), (std::vector{folder}));
    EXPECT_TRUE(rest(*provider->doListFiles(at(u"/d/a"))).empty());
}

TEST_F(InMemoryProviderTest, HidesLaterChangesFromAListing) {
    provider->doCreateFile(at(u"/a"));
    const auto listing = provider->doListAll(at(u"/"));
    provider->doCreateFile(at(u"/b"));
    provider->doRemoveFile(at(u"/a"));
    EXPECT_EQ(rest(*listing), (std::vector{FolderEntry(u"a", FolderEntry::EntryType::File)}));
}

TEST_F(InMemoryProviderTest, ReportsFailedListings) {
    provider->doCreateFile(at(u"/f"));
    for (const auto* path : {u"/f", u"/x", u"/x/y"}) {
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doListAll(at(path)); }));
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doListFiles(at(path)); }));
        EXPECT_TRUE(fails(ErrorCode::NotFound, at(path), [&] { provider->doListFolders(at(path)); }));
    }
}

TEST_F(InMemoryProviderTest, KeepsStreamsAndListingsAfterItsDestruction) {
    const auto stream = provider->doOpenStream(at(u"/f"), {});
    const auto listing = provider->doListAll(at(u"/"));
    provider.reset();
    EXPECT_EQ(stream->write("abc", 3), 3);
    EXPECT_EQ(rest(*listing), (std::vector{FolderEntry(u"f", FolderEntry::EntryType::File)}));
}

TEST_F(InMemoryProviderTest, MovesFiles) {
    write(u"/f", "new");
    write(u"/g", "old");
    provider->doMoveFile(at(u"/f"), at(u"/g"), ReplacementPolicy::ReplaceExisting);
    EXPECT_FALSE(provider->doFileExists(at(u"/f")));
    EXPECT_EQ(read(u"/g"), "new");
}

TEST_F(InMemoryProviderTest, ReportsFailedFileMoves) {
    write(u"/f", "new");
    write(u"/g", "old");
    provider->doCreateFolder(at(u"/a"));
    const auto move = [&](const std::u16string& source, const std::u16string& destination,
                          ReplacementPolicy policy) {
        return [=, this] { provider->doMoveFile(at(source), at(destination), policy); };
    };
    constexpr auto replace = ReplacementPolicy::ReplaceExisting;
    EXPECT_TRUE(
        fails(ErrorCode::AlreadyExists, at(u"/g"), move(u"/f", u"/g", ReplacementPolicy::RefuseExisting)));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/g"),
                      move(u"/f", u"/g", ReplacementPolicy::RefuseExistingFile)));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/a"), move(u"/f", u"/a", replace)));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/x"), move(u"/x", u"/g", replace)));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/f"), move(u"/f", u"/x/y", replace)));
    provider->doSetWritable(at(u"/a"), false);
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/f"), move(u"/f", u"/a/g", replace)));
    EXPECT_EQ(read(u"/f"), "new");
    EXPECT_EQ(read(u"/g"), "old");
}

TEST_F(InMemoryProviderTest, MovesFolders) {
    provider->doCreateFolder(at(u"/a"));
    write(u"/a/f", "abc");
    provider->doCreateFolder(at(u"/b"));
    provider->doMoveFolder(at(u"/a"), at(u"/b"), ReplacementPolicy::RefuseExistingFile);
    EXPECT_FALSE(provider->doFolderExists(at(u"/a")));
    EXPECT_EQ(read(u"/b/f"), "abc");
}

TEST_F(InMemoryProviderTest, ReportsFailedFolderMoves) {
    provider->doCreateFolder(at(u"/a"));
    provider->doCreateFolder(at(u"/b"));
    write(u"/b/f", "abc");
    const auto move = [&](const std::u16string& source, const std::u16string& destination,
                          ReplacementPolicy policy) {
        return [=, this] { provider->doMoveFolder(at(source), at(destination), policy); };
    };
    constexpr auto replace = ReplacementPolicy::ReplaceExisting;
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/b"), move(u"/a", u"/b", replace)));
    EXPECT_TRUE(
        fails(ErrorCode::AlreadyExists, at(u"/b"), move(u"/a", u"/b", ReplacementPolicy::RefuseExisting)));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/b/f"), move(u"/a", u"/b/f", replace)));
    EXPECT_TRUE(fails(ErrorCode::AlreadyExists, at(u"/b/c"), move(u"/b", u"/b/c", replace)));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/x"), move(u"/x", u"/c", replace)));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/a"), move(u"/a", u"/x/y", replace)));
    EXPECT_TRUE(fails(ErrorCode::NotFound, at(u"/"), move(u"/", u"/c", replace)));
    provider->doSetWritable(at(u"/a"), false);
    EXPECT_TRUE(fails(ErrorCode::ReadOnly, at(u"/a"), move(u"/a", u"/c", replace)));
    EXPECT_TRUE(provider->doFolderExists(at(u"/a")));
    EXPECT_EQ(read(u"/b/f"), "abc");
}

} // namespace
} // namespace storage::inmemoryprovider::in_memory_provider_test
