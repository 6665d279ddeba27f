#include "hostapi/storage/provider/IProvider.h"

namespace foundation::storage::provider {

namespace {

[[noreturn]] void refuseNotOffered(const StorageIRI& iri) {
    throw Exception(ErrorCode::NotOffered, iri);
}

} // namespace

// The ABI passes callbacks by value, so that an override may keep them.
// NOLINTBEGIN(performance-unnecessary-value-param)

std::unique_ptr<ByteStream> IProvider::doOpenTransactionalStream(const StorageIRI& iri,
                                                                 const ByteStreamOpenOptions&) const {
    refuseNotOffered(iri);
}

std::unique_ptr<ByteStream>
IProvider::doOpenTransactionalStreamAtScratchLocation(const StorageIRI& iri, const StorageIRI&,
                                                      const ByteStreamOpenOptions&) const {
    refuseNotOffered(iri);
}

void IProvider::doPublishFolderEventsFor(const StorageIRI& iri, EventCallback) const {
    refuseNotOffered(iri);
}

void IProvider::doPublishFileEventsFor(const StorageIRI& iri, EventCallback) const {
    refuseNotOffered(iri);
}

void IProvider::doStopPublishingEventsFor(const StorageIRI& iri) const {
    refuseNotOffered(iri);
}

void IProvider::doStartChangePollingMechanism(const StorageIRI& iri, EventCallback) const {
    refuseNotOffered(iri);
}

void IProvider::doStopChangePollingMechanism(const StorageIRI& iri) const {
    refuseNotOffered(iri);
}

ProviderStorageInfo IProvider::doGetProviderStorageInfo(const StorageIRI& iri) const {
    refuseNotOffered(iri);
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace foundation::storage::provider
