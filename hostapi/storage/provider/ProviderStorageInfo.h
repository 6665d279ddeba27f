#pragma once

namespace foundation::storage::provider {

/// The room a storage has, in bytes.
struct ProviderStorageInfo {
    unsigned long long capacity;
    unsigned long long available;
};

} // namespace foundation::storage::provider
