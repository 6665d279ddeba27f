#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <boost/property_tree/ptree.hpp>

#include <cstring>

namespace storage::tests {

using namespace provider;

namespace {

class IProviderNotOfferedTest : public ProviderTest {
protected:
    IProviderNotOfferedTest() { makeFile(u"/f"); }

    const StorageIRI iri_ = at(u"/f");
};

TEST_F(IProviderNotOfferedTest, RefusesTransactionalStreams) {
    EXPECT_THAT([&] { provider_->doOpenTransactionalStream(iri_, {}); },
                failsWith(ErrorCode::NotOffered, iri_));
    EXPECT_THAT([&] { provider_->doOpenTransactionalStreamAtScratchLocation(iri_, at(u"/scratch"), {}); },
                failsWith(ErrorCode::NotOffered, iri_));
}

TEST_F(IProviderNotOfferedTest, RefusesEvents) {
    EXPECT_THAT([&] { provider_->doPublishFolderEventsFor(iri_, {}); },
                failsWith(ErrorCode::NotOffered, iri_));
    EXPECT_THAT([&] { provider_->doPublishFileEventsFor(iri_, {}); }, failsWith(ErrorCode::NotOffered, iri_));
    EXPECT_THAT([&] { provider_->doStopPublishingEventsFor(iri_); }, failsWith(ErrorCode::NotOffered, iri_));
}

TEST_F(IProviderNotOfferedTest, RefusesPolling) {
    EXPECT_THAT([&] { provider_->doStartChangePollingMechanism(iri_, {}); },
                failsWith(ErrorCode::NotOffered, iri_));
    EXPECT_THAT([&] { provider_->doStopChangePollingMechanism(iri_); },
                failsWith(ErrorCode::NotOffered, iri_));
}

TEST_F(IProviderNotOfferedTest, RefusesStorageInformation) {
    EXPECT_THAT([&] { provider_->doGetProviderStorageInfo(iri_); }, failsWith(ErrorCode::NotOffered, iri_));
}

TEST_F(IProviderNotOfferedTest, NeverCallsBack) {
    bool called = false;
    const auto callback = [&](StorageEventKind, const StorageIRI&, const StorageIRI&, FolderEntry::EntryType,
                              const boost::property_tree::ptree&) { called = true; };
    EXPECT_THROW(provider_->doPublishFolderEventsFor(at(u"/"), callback), Exception);
    EXPECT_THROW(provider_->doStartChangePollingMechanism(at(u"/"), callback), Exception);
    makeFile(u"/g");
    EXPECT_FALSE(called);
}

TEST_F(IProviderNotOfferedTest, HasAReadableMessage) {
    try {
        provider_->doGetProviderStorageInfo(iri_);
        FAIL() << "nothing was thrown";
    } catch (const Exception& failure) {
        EXPECT_STREQ(failure.what(), "/f: this provider does not offer the operation");
    }
}

} // namespace

} // namespace storage::tests
