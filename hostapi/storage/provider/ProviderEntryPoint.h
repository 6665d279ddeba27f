#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>

namespace foundation::storage::provider {

/// The C function that every provider plug-in exports under `providerEntryPointName`.
///
/// Stores a new provider in the caller's pointer, which releases its previous object. When it throws, the
/// pointer is unchanged.
///
/// Lifetimes: the library must stay loaded as long as any object uses its code. These are the providers that
/// it made, all shared and weak pointers to them, streams, listings with their clones, and path comparators.
/// They may be destroyed in any order; a stream or a listing may outlive its provider. Values may outlive the
/// library: locations, names, folder entries, attributes. So may `Exception`, `SystemError` and the standard
/// library's exceptions, even in a std::exception_ptr, but no exception of a class that the plug-in defines.
using ProviderEntryPoint = void(std::shared_ptr<IProvider>* provider);

/// The symbol of the function, for dlsym(3).
inline constexpr const char* providerEntryPointName = "buildProvider_V1";

} // namespace foundation::storage::provider
