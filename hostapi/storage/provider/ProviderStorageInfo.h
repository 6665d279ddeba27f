#pragma once

namespace foundation::storage::provider {

/// The capacity of a storage, in bytes.
struct ProviderStorageInfo {
    unsigned long long capacity;  ///< used and unused
    unsigned long long available; ///< unused
};

} // namespace foundation::storage::provider
