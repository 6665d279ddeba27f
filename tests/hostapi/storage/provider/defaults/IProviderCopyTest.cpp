#include "hostapi/core/except/UtfConversion.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"
#include "tests/support/HookedProvider.h"
#include "tests/support/MiscountingProvider.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>

#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace storage::tests {

using namespace provider;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto refuseExisting = static_cast<ReplacementPolicy>(0);
constexpr auto replaceExisting = static_cast<ReplacementPolicy>(1);
constexpr auto refuseExistingFile = static_cast<ReplacementPolicy>(4);
constexpr auto unnamedPolicy = static_cast<ReplacementPolicy>(7);

std::string bytes(std::size_t size) {
    std::string content;
    for (std::size_t i = 0; i < size; ++i) {
        content += static_cast<char>(i * 31 + i / 256);
    }
    return content;
}

/// Copies the file /from/f into the folder /to. Each test prepares the content of /to.
class IProviderCopyTest : public ProviderTest {
protected:
    IProviderCopyTest() {
        makeFolder(u"/from");
        makeFolder(u"/to");
        makeFile(u"/from/f", "new bytes");
    }

    void copy(ReplacementPolicy policy = refuseExisting) const {
        provider_->doCopyFile(source_, destination_, policy);
    }

    /// The default operation on the same files. `before` runs before each of the operations that it calls.
    void copyRacing(HookedProvider::Hook before, ReplacementPolicy policy = refuseExisting) const {
        HookedProvider(provider_, std::move(before)).doCopyFile(source_, destination_, policy);
    }

    const StorageIRI source_ = at(u"/from/f");
    const StorageIRI destination_ = at(u"/to/f");
};

TEST_F(IProviderCopyTest, FailsOnAShortWriteAndLeavesNothing) {
    for (const long written : {0L, 1L, -1L}) {
        MiscountingProvider provider(provider_);
        provider.written = [&](long) { return written; };
        EXPECT_THROW(provider.doCopyFile(source_, destination_, refuseExisting), std::runtime_error);
        EXPECT_THAT(namesIn(u"/to"), IsEmpty()) << written;
    }
}

TEST_F(IProviderCopyTest, FailsOnAReadOfTooManyBytes) {
    MiscountingProvider provider(provider_);
    provider.copied = [](long count) { return count + 1; };
    EXPECT_THROW(provider.doCopyFile(source_, destination_, refuseExisting), std::runtime_error);
    EXPECT_THAT(namesIn(u"/to"), IsEmpty());
}

TEST_F(IProviderCopyTest, FailsOnASourceThatRefusesToMoveThePosition) {
    MiscountingProvider provider(provider_);
    for (const std::streamoff refusedAt : {std::streamoff{9}, std::streamoff{0}}) { // the end, the beginning
        provider.sought = [&](std::streamoff position) { return position == refusedAt ? -1 : position; };
        EXPECT_THROW(provider.doCopyFile(source_, destination_, refuseExisting), std::runtime_error);
        EXPECT_THAT(namesIn(u"/to"), IsEmpty()) << refusedAt;
    }
}

TEST_F(IProviderCopyTest, PropagatesOtherFailuresOfAReadOnlyTest) {
    makeFile(u"/to/f", "old");
    EXPECT_THAT(
        [&] {
            copyRacing(
                [](const std::string& operation, const StorageIRI& iri) {
                    if (operation == "getFileAttributes") {
                        throw Exception(ErrorCode::NotOffered, iri);
                    }
                },
                replaceExisting);
        },
        failsWith(ErrorCode::NotOffered, destination_));
    EXPECT_EQ(contentOf(u"/to/f"), "old");
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
}

TEST_F(IProviderCopyTest, ThrowsNotFoundForADestinationWithoutFolder) {
    EXPECT_THAT([&] { provider_->doCopyFile(source_, at(u"f"), refuseExisting); },
                testing::Throws<Exception>(testing::Property(&Exception::getErrorCode, ErrorCode::NotFound)));
    EXPECT_THAT(namesIn(u"/"), ElementsAre(u"from", u"to"));
}

TEST_F(IProviderCopyTest, AcceptsShortReads) {
    MiscountingProvider provider(provider_);
    provider.copied = [](long) { return 1L; };
    provider.doCopyFile(source_, destination_, refuseExisting);
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, CopiesTheBytes) {
    copy();
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
    EXPECT_EQ(contentOf(u"/from/f"), "new bytes");
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
    EXPECT_THAT(namesIn(u"/from"), ElementsAre(u"f"));
}

TEST_F(IProviderCopyTest, CopiesFilesOfAnyNumberOfBlocks) {
    constexpr std::size_t block = std::size_t{64} * 1024;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 3 * block}) {
        provider_->doRemoveFile(source_);
        makeFile(u"/from/f", bytes(size));
        copy(replaceExisting);
        EXPECT_TRUE(contentOf(u"/to/f") == bytes(size)) << size;
    }
}

TEST_F(IProviderCopyTest, DoesNotShareBytesWithTheSource) {
    copy();
    provider_->doOpenStream(source_, {})->write("NEW", 3);
    EXPECT_EQ(contentOf(u"/from/f"), "NEW bytes");
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, CreatesAWritableCopyOfAReadOnlyFile) {
    makeReadOnly(u"/from/f");
    copy();
    EXPECT_TRUE(provider_->doGetFileAttributes(destination_).isWritable());
    EXPECT_FALSE(provider_->doGetFileAttributes(source_).isWritable());
}

TEST_F(IProviderCopyTest, StampsTheCopyAndLeavesTheTimeOfTheSource) {
    const boost::posix_time::ptime old(boost::gregorian::date(2000, 1, 1));
    provider_->doSetLastModified(source_, old);
    const auto before = boost::posix_time::microsec_clock::universal_time();
    copy();
    EXPECT_GE(provider_->doGetFileAttributes(destination_).getLastModified(), before);
    EXPECT_EQ(provider_->doGetFileAttributes(source_).getLastModified(), old);
}

TEST_F(IProviderCopyTest, CopiesWithinOneFolderAndIntoTheRoot) {
    provider_->doCopyFile(source_, at(u"/from/g"), refuseExisting);
    provider_->doCopyFile(source_, at(u"/g"), refuseExisting);
    EXPECT_EQ(contentOf(u"/from/g"), "new bytes");
    EXPECT_EQ(contentOf(u"/g"), "new bytes");
    EXPECT_THAT(namesIn(u"/"), ElementsAre(u"from", u"g", u"to"));
}

TEST_F(IProviderCopyTest, AcceptsASeparatorAtTheEndOfTheDestination) {
    provider_->doCopyFile(source_, at(u"/to/f/"), refuseExisting);
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
}

TEST_F(IProviderCopyTest, FollowsTheResolvedPaths) {
    provider_->doCopyFile(StorageIRI(u"/from/f", u"/alias/x", true), StorageIRI(u"/to/f", u"/alias/y", true),
                          refuseExisting);
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, RefusesAnExistingFileUnderTheRefusingPolicies) {
    makeFile(u"/to/f", "old");
    for (const ReplacementPolicy policy : {refuseExisting, refuseExistingFile}) {
        EXPECT_THAT([&] { copy(policy); }, failsWith(ErrorCode::AlreadyExists, destination_));
        EXPECT_EQ(contentOf(u"/to/f"), "old");
    }
}

TEST_F(IProviderCopyTest, ReplacesAnExistingFileUnderEveryOtherPolicy) {
    makeFile(u"/to/f", "old and longer than the new");
    for (const ReplacementPolicy policy : {replaceExisting, unnamedPolicy}) {
        copy(policy);
        EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
        EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
    }
}

TEST_F(IProviderCopyTest, KeepsReplacedBytesForOpenStreams) {
    makeFile(u"/to/f", "old");
    const auto stream = provider_->doOpenReadOnlyStream(destination_);
    copy(replaceExisting);
    std::string content(3, '\0');
    EXPECT_EQ(stream->read(content.data(), 3), 3);
    EXPECT_EQ(content, "old");
}

TEST_F(IProviderCopyTest, RefusesAnExistingFolderUnderEveryPolicy) {
    makeFolder(u"/to/f");
    for (const ReplacementPolicy policy :
         {refuseExisting, replaceExisting, refuseExistingFile, unnamedPolicy}) {
        EXPECT_THAT([&] { copy(policy); }, failsWith(ErrorCode::AlreadyExists, destination_));
    }
    EXPECT_THAT([&] { provider_->doCopyFile(source_, at(u"/"), replaceExisting); },
                failsWith(ErrorCode::AlreadyExists, at(u"/")));
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
    EXPECT_THAT(namesIn(u"/"), ElementsAre(u"from", u"to"));
}

TEST_F(IProviderCopyTest, RefusesAnOccupiedDestinationBeforeItCopiesAnything) {
    int created = 0;
    const auto countCreations = [&](const std::string& operation, const StorageIRI&) {
        created += operation == "createFile" ? 1 : 0;
    };
    makeFile(u"/to/f", "old");
    EXPECT_THROW(copyRacing(countCreations, refuseExisting), Exception);
    EXPECT_THROW(copyRacing(countCreations, refuseExistingFile), Exception);
    provider_->doRemoveFile(destination_);
    makeFolder(u"/to/f");
    EXPECT_THROW(copyRacing(countCreations, replaceExisting), Exception);
    provider_->doRemoveFolder(destination_);
    makeFile(u"/to/f", "old");
    makeReadOnly(u"/to/f");
    EXPECT_THROW(copyRacing(countCreations, replaceExisting), Exception);
    EXPECT_EQ(created, 0);
}

TEST_F(IProviderCopyTest, NamesTheSourceIfItIsMissingOrAFolder) {
    const StorageIRI missing(u"/from/missing", u"/alias", true);
    EXPECT_THAT([&] { provider_->doCopyFile(missing, destination_, replaceExisting); },
                failsWith(ErrorCode::NotFound, missing));
    EXPECT_THAT([&] { provider_->doCopyFile(at(u"/from"), destination_, replaceExisting); },
                failsWith(ErrorCode::NotFound, at(u"/from")));
    EXPECT_THAT(namesIn(u"/to"), IsEmpty());
}

TEST_F(IProviderCopyTest, ReportsAMissingSourceBeforeAnOccupiedDestination) {
    makeFile(u"/to/f");
    EXPECT_THAT([&] { provider_->doCopyFile(at(u"/from/missing"), destination_, refuseExisting); },
                failsWith(ErrorCode::NotFound, at(u"/from/missing")));
}

TEST_F(IProviderCopyTest, NamesTheSourceIfTheDestinationFolderIsMissing) {
    EXPECT_THAT([&] { provider_->doCopyFile(source_, at(u"/missing/f"), replaceExisting); },
                failsWith(ErrorCode::NotFound, source_));
    EXPECT_THAT([&] { provider_->doCopyFile(source_, at(u"/from/f/below"), replaceExisting); },
                failsWith(ErrorCode::NotFound, source_));
}

TEST_F(IProviderCopyTest, NamesTheSourceIfTheDestinationFolderIsReadOnly) {
    makeReadOnly(u"/to");
    EXPECT_THAT([&] { copy(); }, failsWith(ErrorCode::ReadOnly, source_));
    EXPECT_THAT(namesIn(u"/to"), IsEmpty());
}

TEST_F(IProviderCopyTest, NamesTheSourceIfTheDestinationIsReadOnlyAndLeavesNothingBehind) {
    makeFile(u"/to/f", "old");
    makeReadOnly(u"/to/f");
    EXPECT_THAT([&] { copy(replaceExisting); }, failsWith(ErrorCode::ReadOnly, source_));
    EXPECT_EQ(contentOf(u"/to/f"), "old");
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
}

TEST_F(IProviderCopyTest, KeepsTheBytesOfAFileCopiedOntoItself) {
    provider_->doCopyFile(source_, source_, replaceExisting);
    EXPECT_EQ(contentOf(u"/from/f"), "new bytes");
    EXPECT_THAT([&] { provider_->doCopyFile(source_, source_, refuseExisting); },
                failsWith(ErrorCode::AlreadyExists, source_));
    EXPECT_EQ(contentOf(u"/from/f"), "new bytes");
    EXPECT_THAT(namesIn(u"/from"), ElementsAre(u"f"));
}

TEST_F(IProviderCopyTest, ReportsAfterEachBlockHowManyBytesAreCopied) {
    provider_->doRemoveFile(source_);
    makeFile(u"/from/f", bytes(2 * 65536 + 17));
    std::vector<unsigned long long> reports;
    provider_->doCopyFileAtomic(source_, destination_, refuseExisting,
                                [&](unsigned long long copied) { reports.push_back(copied); });
    EXPECT_THAT(reports, ElementsAre(65536U, 131072U, 131089U));
    EXPECT_TRUE(contentOf(u"/to/f") == bytes(2 * 65536 + 17));
}

TEST_F(IProviderCopyTest, ReportsOnceOnAnEmptyFile) {
    makeFile(u"/from/empty");
    std::vector<unsigned long long> reports;
    provider_->doCopyFileAtomic(at(u"/from/empty"), destination_, refuseExisting,
                                [&](unsigned long long copied) { reports.push_back(copied); });
    EXPECT_THAT(reports, ElementsAre(0U));
}

TEST_F(IProviderCopyTest, AcceptsAnEmptyProgressCallback) {
    provider_->doCopyFileAtomic(source_, destination_, refuseExisting, {});
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, ShowsNothingAtTheDestinationUntilItIsComplete) {
    makeFile(u"/to/f", "old");
    provider_->doCopyFileAtomic(source_, destination_, replaceExisting,
                                [&](unsigned long long) { EXPECT_EQ(contentOf(u"/to/f"), "old"); });
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, LeavesNothingBehindWhenItsProgressCallbackThrows) {
    makeFile(u"/to/f", "old");
    const auto end = [](unsigned long long) { throw std::runtime_error("enough"); };
    EXPECT_THROW(provider_->doCopyFileAtomic(source_, destination_, replaceExisting, end),
                 std::runtime_error);
    EXPECT_THROW(provider_->doCopyFileAtomic(source_, at(u"/to/g"), replaceExisting, end),
                 std::runtime_error);
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
    EXPECT_EQ(contentOf(u"/to/f"), "old");
}

TEST_F(IProviderCopyTest, RethrowsExceptionsOfTheProgressCallback) {
    const StorageIRI other = at(u"/elsewhere");
    EXPECT_THAT(
        [&] {
            provider_->doCopyFileAtomic(source_, destination_, refuseExisting, [&](unsigned long long) {
                throw Exception(ErrorCode::ReadOnly, other);
            });
        },
        failsWith(ErrorCode::ReadOnly, other));
}

TEST_F(IProviderCopyTest, UsesAHiddenNameThatNoOtherCopyUses) {
    std::set<std::u16string> seen;
    constexpr std::size_t copies = 3;
    for (std::size_t i = 0; i < copies; ++i) {
        provider_->doCopyFileAtomic(source_, destination_, replaceExisting,
                                    [&](unsigned long long) { seen.insert(namesIn(u"/to").at(0)); });
    }
    EXPECT_EQ(seen.size(), copies);
    for (const std::u16string& name : seen) {
        EXPECT_THAT(foundation::core::except::toReadableUtf8(name),
                    testing::MatchesRegex("\\.copy-[0-9a-f]{16}"));
    }
}

TEST_F(IProviderCopyTest, NamesItsTemporaryFileWhenTheStorageRefusesItsName) {
    std::optional<StorageIRI> refused;
    const HookedProvider refusing(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFile") {
            refused = iri;
            throw Exception(ErrorCode::NotFound, iri);
        }
    });
    try {
        refusing.doCopyFile(source_, destination_, refuseExisting);
        ADD_FAILURE() << "nothing thrown";
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.getErrorCode(), ErrorCode::NotFound);
        EXPECT_EQ(failure.getIRI(), refused);
    }
}

TEST_F(IProviderCopyTest, EndsInAStorageThatReportsEveryNameAsExisting) {
    std::vector<StorageIRI> tried;
    const HookedProvider crowded(provider_, [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFile") {
            tried.push_back(iri);
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
    });
    try {
        crowded.doCopyFile(source_, destination_, refuseExisting);
        ADD_FAILURE() << "nothing thrown";
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.getErrorCode(), ErrorCode::AlreadyExists);
        EXPECT_EQ(failure.getIRI(), tried.back());
    }
}

TEST_F(IProviderCopyTest, CopiesTheInitialSizeOfAFileThatGrows) {
    HookedProvider growing(provider_);
    growing.beforeRead = [&] {
        provider_->doOpenStream(source_, {.append = ByteStreamAppend::AppendAtEnd})->write("more", 4);
    };
    growing.doCopyFile(source_, destination_, refuseExisting);
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, EndsEarlyIfTheFileIsTruncated) {
    provider_->doRemoveFile(source_);
    makeFile(u"/from/f", bytes(3 * 65536));
    provider_->doCopyFileAtomic(source_, destination_, refuseExisting,
                                [&](unsigned long long) { provider_->doTruncateToSize(source_, 65536 + 5); });
    EXPECT_TRUE(contentOf(u"/to/f") == bytes(65536 + 5));
}

TEST_F(IProviderCopyTest, KeepsAFileWithItsTemporaryName) {
    std::optional<StorageIRI> taken;
    copyRacing([&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFile" && !taken) {
            taken = iri;
            makeFile(iri.getPath(), "somebody else's");
        }
    });
    ASSERT_TRUE(taken);
    EXPECT_EQ(contentOf(taken->getPath()), "somebody else's");
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
    EXPECT_EQ(namesIn(u"/to").size(), 2U);
}

TEST_F(IProviderCopyTest, RefusesAFileThatAnotherThreadPutsAtTheDestinationMeanwhile) {
    EXPECT_THAT(
        [&] {
            copyRacing([&](const std::string& operation, const StorageIRI&) {
                if (operation == "moveFile") {
                    makeFile(u"/to/f", "somebody else's");
                }
            });
        },
        failsWith(ErrorCode::AlreadyExists, destination_));
    EXPECT_EQ(contentOf(u"/to/f"), "somebody else's");
    EXPECT_THAT(namesIn(u"/to"), ElementsAre(u"f"));
}

TEST_F(IProviderCopyTest, NamesItsTemporaryFileWhenAnotherThreadRemovesIt) {
    for (const std::string moment : {"openStream", "moveFile"}) {
        std::optional<StorageIRI> removed;
        try {
            copyRacing([&](const std::string& operation, const StorageIRI& iri) {
                if (operation == moment) {
                    provider_->doRemoveFile(iri);
                    removed = iri;
                }
            });
            ADD_FAILURE() << "nothing thrown";
        } catch (const Exception& failure) {
            EXPECT_EQ(failure.getErrorCode(), ErrorCode::NotFound);
            EXPECT_EQ(failure.getIRI(), removed);
        }
        EXPECT_THAT(namesIn(u"/to"), IsEmpty());
    }
}

TEST_F(IProviderCopyTest, ReplacesAFileThatAnotherThreadRemovesMeanwhile) {
    makeFile(u"/to/f", "old");
    copyRacing(
        [&](const std::string& operation, const StorageIRI& iri) {
            if (operation == "getFileAttributes") {
                provider_->doRemoveFile(iri);
            }
        },
        replaceExisting);
    EXPECT_EQ(contentOf(u"/to/f"), "new bytes");
}

TEST_F(IProviderCopyTest, NamesTheSourceWhenTheFolderBecomesReadOnlyMeanwhile) {
    EXPECT_THAT(
        [&] {
            copyRacing([&](const std::string& operation, const StorageIRI&) {
                if (operation == "moveFile") {
                    makeReadOnly(u"/to");
                }
            });
        },
        failsWith(ErrorCode::ReadOnly, source_));
    EXPECT_FALSE(provider_->doFileExists(destination_));
}

TEST_F(IProviderCopyTest, LeavesNothingBehindWhenOutOfMemory) {
    for (const std::string moment : {"openStream", "moveFile"}) {
        EXPECT_THROW(copyRacing([&](const std::string& operation, const StorageIRI&) {
                         if (operation == moment) {
                             throw std::bad_alloc();
                         }
                     }),
                     std::bad_alloc);
        EXPECT_THAT(namesIn(u"/to"), IsEmpty());
    }
}

} // namespace

} // namespace storage::tests
