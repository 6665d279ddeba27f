#pragma once

#include "host/plugin/LoadedProvider.h"

#include <memory>
#include <utility>

/// Shares a provider together with its library, for a test provider that forwards to it.
inline std::shared_ptr<foundation::storage::provider::IProvider>
sharedProvider(storage::host::LoadedProvider provider) {
    const auto owner = std::make_shared<storage::host::LoadedProvider>(std::move(provider));
    return {owner, &**owner};
}
