#pragma once

namespace foundation::storage::provider {

/// The room a storage has, in bytes.
struct ProviderStorageInfo {
    unsigned long long capacity;  ///< used and unused
    unsigned long long available; ///< unused
};

} // namespace foundation::storage::provider
