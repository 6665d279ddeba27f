#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/StorageIRI.h"

namespace storage::host {

/// Removes a file of the storage again unless it was finished.
///
/// Borrows provider and location. Thread safety: one object is for one thread.
class UnfinishedFile {
public:
    UnfinishedFile(const foundation::storage::provider::IProvider& provider,
                   const foundation::storage::provider::StorageIRI& iri) noexcept
        : provider_(provider), iri_(iri) {}
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    /// From now on the file stays.
    void finish() noexcept { finished_ = true; }

private:
    const foundation::storage::provider::IProvider& provider_;
    const foundation::storage::provider::StorageIRI& iri_;
    bool finished_ = false;
};

} // namespace storage::host
