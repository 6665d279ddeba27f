#pragma once

#include "hostapi/storage/provider/IFolderEntryIterator.h"

#include <memory>

namespace foundation::storage::provider {

/// Implements `clone` for `Iterator` through its copy constructor.
template <class Iterator>
class IClonableFolderEntryIterator : public IFolderEntryIterator {
public:
    std::unique_ptr<IFolderEntryIterator> clone() const override {
        return std::make_unique<Iterator>(static_cast<const Iterator&>(*this));
    }
};

} // namespace foundation::storage::provider
