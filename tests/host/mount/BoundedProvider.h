#pragma once

#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "tests/support/HookedProvider.h"

#include <cstdint>

/// A provider that reports its free space.
class BoundedProvider final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    foundation::storage::provider::ProviderStorageInfo
    doGetProviderStorageInfo(const StorageIRI&) const override {
        return {1000, available};
    }

    std::uint64_t available = 1000; ///< bytes
};
