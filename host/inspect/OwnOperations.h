#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderOperations.h"

#include <array>

namespace storage::host {

/// For each of `providerOperations`: whether the provider overrides the default.
using OwnOperations = std::array<bool, foundation::storage::provider::providerOperations.size()>;

/// @param provider  as the plug-in created it, not a wrapper
OwnOperations ownOperations(const foundation::storage::provider::IProvider& provider);

} // namespace storage::host
