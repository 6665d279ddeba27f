#pragma once

#include <hostapi/storage/provider/FolderEntry.h>
#include <hostapi/storage/provider/IClonableFolderEntryIterator.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace provider_template {

// [listing]
/// A listing of entries that were collected in advance, so later changes of the folder are not visible in it.
///
/// The base implements `clone` with the copy constructor. A clone shares the entries and has its own
/// position.
class Listing final : public foundation::storage::provider::IClonableFolderEntryIterator<Listing> {
public:
    using FolderEntry = foundation::storage::provider::FolderEntry;

    explicit Listing(std::vector<FolderEntry> entries);

    FolderEntry getEntry() const override;
    bool hasNext() const override;
    void step() override;

private:
    std::shared_ptr<const std::vector<FolderEntry>> entries_;
    std::size_t steps_ = 0;
};
// [listing]

} // namespace provider_template
