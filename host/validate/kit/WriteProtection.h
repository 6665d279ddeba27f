#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::host {

/// Makes an entry read-only during its lifetime, then writable again, so that it can be removed.
/// Borrows the provider. Not thread-safe.
class WriteProtection {
public:
    using IProvider = provider::IProvider;
    using StorageIRI = provider::StorageIRI;

    WriteProtection(const IProvider& provider, StorageIRI iri) : provider_(provider), iri_(std::move(iri)) {
        provider_.doSetWritable(iri_, false);
    }
    WriteProtection(const WriteProtection&) = delete;
    WriteProtection& operator=(const WriteProtection&) = delete;
    ~WriteProtection() {
        try {
            provider_.doSetWritable(iri_, true);
        } catch (...) { // some operations move or remove the entry
        }
    }

private:
    const IProvider& provider_;
    StorageIRI iri_;
};

} // namespace storage::host
