#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

namespace storage::host {

/// Removes a file of the storage unless it was finished.
///
/// Borrows the provider and the location. Not thread-safe.
class UnfinishedFile {
public:
    UnfinishedFile(const provider::IProvider& provider, const provider::StorageIRI& iri) noexcept
        : provider_(provider), iri_(iri) {}
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    /// Keeps the file.
    void finish() noexcept { finished_ = true; }

private:
    const provider::IProvider& provider_;
    const provider::StorageIRI& iri_;
    bool finished_ = false;
};

} // namespace storage::host
