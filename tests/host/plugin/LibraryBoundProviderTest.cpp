#include "host/plugin/LibraryBoundProvider.h"
#include "tests/support/MockProvider.h"

#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>

namespace {

using namespace foundation::storage::provider;
using storage::host::LibraryBoundProvider;
using testing::ByMove;
using testing::InSequence;
using testing::Ref;
using testing::Return;
using testing::StrictMock;

using Names = std::vector<std::u16string>;

/// Every operation arrives at the plug-in's provider as the same operation with the same arguments, and its
/// answer comes back.
class LibraryBoundProviderTest : public testing::Test {
protected:
    std::shared_ptr<StrictMock<MockProvider>> inner_ = std::make_shared<StrictMock<MockProvider>>();
    LibraryBoundProvider bound_{std::make_shared<int>(), inner_};
    const StorageIRI iri_{u"/a"};
    const StorageIRI destination_{u"/b"};
    const ReplacementPolicy policy_ = ReplacementPolicy::RefuseExistingFile;
    const ByteStreamOpenOptions options_{};
    const std::u16string pattern_ = u"*x";
    const boost::posix_time::ptime time_{boost::gregorian::date(2001, 2, 3)};
};

class OneNumberStream final : public ByteStream {
public:
    explicit OneNumberStream(long number) : number_(number) {}
    long read(char*, long) override { return number_; }
    long write(const char*, long) override { return number_; }
    std::streampos seek(long, std::ios_base::seekdir) override { return number_; }
    void flush() override { ++number_; }

private:
    long number_;
};

class OneNameListing final : public IFolderEntryIterator {
public:
    explicit OneNameListing(std::u16string name) : name_(std::move(name)) {}
    FolderEntry getEntry() const override { return {name_, FolderEntry::EntryType::Folder}; }
    bool hasNext() const override { return true; }
    void step() override { name_ += u"+"; }
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<OneNameListing>(name_ + u" again");
    }

private:
    std::u16string name_;
};

void expectStream(const std::unique_ptr<ByteStream>& stream, long number) {
    EXPECT_EQ(stream->read(nullptr, 0), number);
    EXPECT_EQ(stream->write(nullptr, 0), number);
    EXPECT_EQ(stream->seek(0, std::ios_base::beg), number);
    stream->flush();
    EXPECT_EQ(stream->read(nullptr, 0), number + 1);
}

void expectListing(const std::unique_ptr<IFolderEntryIterator>& listing, const std::u16string& name) {
    EXPECT_TRUE(listing->hasNext());
    EXPECT_EQ(listing->getEntry().getName(), name);
    listing->step();
    EXPECT_EQ(listing->getEntry().getName(), name + u"+");
    EXPECT_EQ(listing->clone()->getEntry().getName(), name + u"+ again");
}

TEST_F(LibraryBoundProviderTest, PassesOnWhatMakesMovesAndRemoves) {
    const InSequence inThisOrder;
    EXPECT_CALL(*inner_, doCreateFile(Ref(iri_)));
    EXPECT_CALL(*inner_, doCreateFolder(Ref(iri_)));
    EXPECT_CALL(*inner_, doCreateFolderRecursive(Ref(iri_)));
    EXPECT_CALL(*inner_, doRemoveFile(Ref(iri_)));
    EXPECT_CALL(*inner_, doMoveFile(Ref(iri_), Ref(destination_), policy_));
    EXPECT_CALL(*inner_, doRemoveFolder(Ref(iri_)));
    EXPECT_CALL(*inner_, doRemoveFolderRecursively(Ref(iri_)));
    EXPECT_CALL(*inner_, doMoveFolder(Ref(iri_), Ref(destination_), policy_));
    bound_.doCreateFile(iri_);
    bound_.doCreateFolder(iri_);
    bound_.doCreateFolderRecursive(iri_);
    bound_.doRemoveFile(iri_);
    bound_.doMoveFile(iri_, destination_, policy_);
    bound_.doRemoveFolder(iri_);
    bound_.doRemoveFolderRecursively(iri_);
    bound_.doMoveFolder(iri_, destination_, policy_);
}

TEST_F(LibraryBoundProviderTest, PassesOnCopies) {
    unsigned long long told = 0;
    EXPECT_CALL(*inner_, doCopyFile(Ref(iri_), Ref(destination_), policy_));
    EXPECT_CALL(*inner_, doCopyFileAtomic(Ref(iri_), Ref(destination_), policy_, testing::_))
        .WillOnce(testing::InvokeArgument<3>(77U));
    bound_.doCopyFile(iri_, destination_, policy_);
    bound_.doCopyFileAtomic(iri_, destination_, policy_, [&](unsigned long long bytes) { told = bytes; });
    EXPECT_EQ(told, 77U);
}

TEST_F(LibraryBoundProviderTest, PassesOnChangesOfAnEntry) {
    const InSequence inThisOrder;
    EXPECT_CALL(*inner_, doSetLastModified(Ref(iri_), Ref(time_)));
    EXPECT_CALL(*inner_, doSetWritable(Ref(iri_), true));
    EXPECT_CALL(*inner_, doSetWritable(Ref(iri_), false));
    EXPECT_CALL(*inner_, doTruncateToSize(Ref(iri_), 5));
    EXPECT_CALL(*inner_, doShutdown());
    bound_.doSetLastModified(iri_, time_);
    bound_.doSetWritable(iri_, true);
    bound_.doSetWritable(iri_, false);
    bound_.doTruncateToSize(iri_, 5);
    bound_.doShutdown();
}

TEST_F(LibraryBoundProviderTest, PassesOnQuestionsOfExistence) {
    for (const bool answer : {true, false}) {
        EXPECT_CALL(*inner_, doFileExists(Ref(iri_))).WillOnce(Return(answer));
        EXPECT_EQ(bound_.doFileExists(iri_), answer);
        EXPECT_CALL(*inner_, doFolderExists(Ref(iri_))).WillOnce(Return(answer));
        EXPECT_EQ(bound_.doFolderExists(iri_), answer);
        EXPECT_CALL(*inner_, doExists(Ref(iri_))).WillOnce(Return(answer));
        EXPECT_EQ(bound_.doExists(iri_), answer);
    }
    EXPECT_CALL(*inner_, doExistsExtended(Ref(iri_))).WillOnce(Return(EntryExistence::Folder));
    EXPECT_EQ(bound_.doExistsExtended(iri_), EntryExistence::Folder);
}

TEST_F(LibraryBoundProviderTest, PassesOnQuestionsAboutAnEntry) {
    EXPECT_CALL(*inner_, doGetFileAttributes(Ref(iri_))).WillOnce(Return(FileAttributes(3, time_, true)));
    EXPECT_EQ(bound_.doGetFileAttributes(iri_).getSize(), 3U);
    EXPECT_CALL(*inner_, doGetFolderAttributes(Ref(iri_))).WillOnce(Return(FolderAttributes(time_, false)));
    EXPECT_EQ(bound_.doGetFolderAttributes(iri_).getLastModified(), time_);
    EXPECT_CALL(*inner_, doGetExtendedAttributes(Ref(iri_)))
        .WillOnce(Return(ExtendedAttributes{FolderEntry::EntryType::File, 4, time_, true}));
    EXPECT_EQ(bound_.doGetExtendedAttributes(iri_).size, 4U);
    EXPECT_CALL(*inner_, doGetCanonicalLocation(Ref(iri_))).WillOnce(Return(destination_));
    EXPECT_EQ(bound_.doGetCanonicalLocation(iri_), destination_);
}

TEST_F(LibraryBoundProviderTest, PassesOnQuestionsAboutTheStorage) {
    EXPECT_CALL(*inner_, doHasFeature(ExtendedFeature::VolatileStorage)).WillOnce(Return(true));
    EXPECT_TRUE(bound_.doHasFeature(ExtendedFeature::VolatileStorage));
    EXPECT_CALL(*inner_, doGetFilenameSensitivity(Ref(iri_)))
        .WillOnce(Return(FilenameSensitivity::CaseInsensitive));
    EXPECT_EQ(bound_.doGetFilenameSensitivity(iri_), FilenameSensitivity::CaseInsensitive);
    EXPECT_CALL(*inner_, doGetProviderStorageInfo(Ref(iri_))).WillOnce(Return(ProviderStorageInfo{8, 9}));
    EXPECT_EQ(bound_.doGetProviderStorageInfo(iri_).available, 9U);
    EXPECT_CALL(*inner_, doGetPathComparator(Ref(iri_)))
        .WillOnce(Return([](std::u16string_view first, std::u16string_view) { return first == u"/x"; }));
    const auto comparator = bound_.doGetPathComparator(iri_);
    EXPECT_TRUE(comparator(u"/x", u"/y"));
    EXPECT_FALSE(comparator(u"/y", u"/x"));
}

TEST_F(LibraryBoundProviderTest, PassesOnStreams) {
    const auto stream = [](long number) { return Return(ByMove(std::make_unique<OneNumberStream>(number))); };
    EXPECT_CALL(*inner_, doOpenStream(Ref(iri_), Ref(options_))).WillOnce(stream(10));
    expectStream(bound_.doOpenStream(iri_, options_), 10);
    EXPECT_CALL(*inner_, doOpenReadOnlyStream(Ref(iri_))).WillOnce(stream(20));
    expectStream(bound_.doOpenReadOnlyStream(iri_), 20);
    EXPECT_CALL(*inner_, doOpenTransactionalStream(Ref(iri_), Ref(options_))).WillOnce(stream(30));
    expectStream(bound_.doOpenTransactionalStream(iri_, options_), 30);
    EXPECT_CALL(*inner_,
                doOpenTransactionalStreamAtScratchLocation(Ref(iri_), Ref(destination_), Ref(options_)))
        .WillOnce(stream(40));
    expectStream(bound_.doOpenTransactionalStreamAtScratchLocation(iri_, destination_, options_), 40);
}

#define EXPECT_LISTING(operation)                                                                            \
    EXPECT_CALL(*inner_, operation(Ref(iri_)))                                                               \
        .WillOnce(Return(ByMove(std::make_unique<OneNameListing>(u"" #operation))));                         \
    expectListing(bound_.operation(iri_), u"" #operation)

#define EXPECT_LISTING_BY_PATTERN(operation)                                                                 \
    EXPECT_CALL(*inner_, operation(Ref(iri_), pattern_))                                                     \
        .WillOnce(Return(ByMove(std::make_unique<OneNameListing>(u"" #operation))));                         \
    expectListing(bound_.operation(iri_, pattern_), u"" #operation)

#define EXPECT_NAMES(operation)                                                                              \
    EXPECT_CALL(*inner_, operation(Ref(iri_))).WillOnce(Return(Names{u"" #operation}));                      \
    EXPECT_EQ(bound_.operation(iri_), Names{u"" #operation})

#define EXPECT_NAMES_BY_PATTERN(operation)                                                                   \
    EXPECT_CALL(*inner_, operation(Ref(iri_), pattern_)).WillOnce(Return(Names{u"" #operation}));            \
    EXPECT_EQ(bound_.operation(iri_, pattern_), Names{u"" #operation})

TEST_F(LibraryBoundProviderTest, PassesOnListings) {
    EXPECT_LISTING(doListAll);
    EXPECT_LISTING(doListFiles);
    EXPECT_LISTING(doListFolders);
    EXPECT_LISTING(doListAllRecursive);
    EXPECT_LISTING_BY_PATTERN(doListAllWildcards);
    EXPECT_LISTING_BY_PATTERN(doListFilesWildcards);
    EXPECT_LISTING_BY_PATTERN(doListFoldersWildcards);
    EXPECT_LISTING_BY_PATTERN(doListAllRecursiveWildcards);
}

TEST_F(LibraryBoundProviderTest, PassesOnListingsOfNames) {
    EXPECT_NAMES(doListAllNamesOnly);
    EXPECT_NAMES(doListFoldersNamesOnly);
    EXPECT_NAMES(doListFilesNamesOnly);
    EXPECT_NAMES(doListAllRecursiveNamesOnly);
    EXPECT_NAMES_BY_PATTERN(doListAllNamesOnlyWildcards);
    EXPECT_NAMES_BY_PATTERN(doListFoldersNamesOnlyWildcards);
    EXPECT_NAMES_BY_PATTERN(doListFilesNamesOnlyWildcards);
    EXPECT_NAMES_BY_PATTERN(doListAllRecursiveNamesOnlyWildcards);
}

#undef EXPECT_LISTING
#undef EXPECT_LISTING_BY_PATTERN
#undef EXPECT_NAMES
#undef EXPECT_NAMES_BY_PATTERN

TEST_F(LibraryBoundProviderTest, PassesOnEvents) {
    int calls = 0;
    const IProvider::EventCallback callback = [&](auto...) { ++calls; };
    const auto tell = testing::InvokeArgument<1>(StorageEventKind::Created, iri_, destination_,
                                                 FolderEntry::EntryType::File, boost::property_tree::ptree());
    const InSequence inThisOrder;
    EXPECT_CALL(*inner_, doPublishFolderEventsFor(Ref(iri_), testing::_)).WillOnce(tell);
    EXPECT_CALL(*inner_, doPublishFileEventsFor(Ref(iri_), testing::_)).WillOnce(tell);
    EXPECT_CALL(*inner_, doStopPublishingEventsFor(Ref(iri_)));
    EXPECT_CALL(*inner_, doStartChangePollingMechanism(Ref(iri_), testing::_)).WillOnce(tell);
    EXPECT_CALL(*inner_, doStopChangePollingMechanism(Ref(iri_)));
    bound_.doPublishFolderEventsFor(iri_, callback);
    bound_.doPublishFileEventsFor(iri_, callback);
    bound_.doStopPublishingEventsFor(iri_);
    bound_.doStartChangePollingMechanism(iri_, callback);
    bound_.doStopChangePollingMechanism(iri_);
    EXPECT_EQ(calls, 3);
}

TEST_F(LibraryBoundProviderTest, NothingStaysNothing) {
    EXPECT_CALL(*inner_, doOpenReadOnlyStream).WillOnce(Return(ByMove(nullptr)));
    EXPECT_CALL(*inner_, doListAll).WillOnce(Return(ByMove(nullptr)));
    EXPECT_EQ(bound_.doOpenReadOnlyStream(iri_), nullptr);
    EXPECT_EQ(bound_.doListAll(iri_), nullptr);
}

} // namespace
