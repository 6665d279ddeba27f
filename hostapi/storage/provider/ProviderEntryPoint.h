#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>

namespace foundation::storage::provider {

/// The C function that every provider plug-in exports under `providerEntryPointName`.
///
/// It stores a new provider in the caller's pointer, which lets go of what it held before. When it throws,
/// the pointer is as it was.
using ProviderEntryPoint = void(std::shared_ptr<IProvider>* provider);

inline constexpr const char* providerEntryPointName = "buildProvider_V1";

} // namespace foundation::storage::provider
