#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderOperations.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>

namespace storage::host {

/// For each of `providerOperations`: whether the provider overrides the default.
using OwnOperations = std::array<bool, provider::providerOperations.size()>;

/// Compares the vtable of the provider with that of the interface.
/// @param provider  the object created by the plug-in, not a wrapper
OwnOperations ownOperations(const provider::IProvider& provider);

} // namespace storage::host
