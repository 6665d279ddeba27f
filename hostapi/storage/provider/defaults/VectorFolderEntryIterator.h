#pragma once

#include "hostapi/storage/provider/IClonableFolderEntryIterator.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace foundation::storage::provider {

/// A listing of entries that were collected beforehand.
///
/// Shares the immutable entries with its clones, and owns its position. Invariant: `steps_` is at most the
/// number of entries.
class VectorFolderEntryIterator final : public IClonableFolderEntryIterator<VectorFolderEntryIterator> {
public:
    explicit VectorFolderEntryIterator(std::vector<FolderEntry> entries);

    FolderEntry getEntry() const override;
    bool hasNext() const override;
    void step() override;

private:
    std::shared_ptr<const std::vector<FolderEntry>> entries_;
    std::size_t steps_ = 0;
};

} // namespace foundation::storage::provider
