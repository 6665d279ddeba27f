#pragma once

#include "hostapi/storage/provider/IProvider.h"

namespace storage::host {

/// An entry that is read-only as long as this object lives; after that it must be removable again.
/// The provider must outlive it. For one thread.
class WriteProtection {
public:
    using IProvider = foundation::storage::provider::IProvider;
    using StorageIRI = foundation::storage::provider::StorageIRI;

    WriteProtection(const IProvider& provider, StorageIRI iri) : provider_(provider), iri_(std::move(iri)) {
        provider_.doSetWritable(iri_, false);
    }
    WriteProtection(const WriteProtection&) = delete;
    WriteProtection& operator=(const WriteProtection&) = delete;
    ~WriteProtection() {
        try {
            provider_.doSetWritable(iri_, true);
        } catch (...) { // moved or removed, as the rules of some operations have it
        }
    }

private:
    const IProvider& provider_;
    StorageIRI iri_;
};

} // namespace storage::host
