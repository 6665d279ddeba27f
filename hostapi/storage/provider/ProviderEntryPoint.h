#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>

namespace foundation::storage::provider {

/// The C function that every provider plug-in exports under `providerEntryPointName`.
///
/// It stores a new provider in the caller's pointer, which lets go of what it held before. When it throws,
/// the pointer is as it was.
///
/// Who must outlive whom: the loaded library outlives whatever runs its code, which is every provider that it
/// made, all shared and weak pointers to it, the provider's streams, listings with their clones, and path
/// comparators. Among these there is no order; a stream or a listing may outlive its provider. Values may
/// outlive the library: locations, names, folder entries, attributes. So may `Exception`, `SystemError` and
/// the standard library's exceptions, however they are held, but not an exception of a class that the plug-in itself
/// defines.
using ProviderEntryPoint = void(std::shared_ptr<IProvider>* provider);

/// The name that hosts look the function up by.
inline constexpr const char* providerEntryPointName = "buildProvider_V1";

} // namespace foundation::storage::provider
