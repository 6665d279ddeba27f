#pragma once

#include "inmemoryprovider/InMemoryProvider.h"

#include "hostapi/storage/provider/IProvider.h"

#include <memory>

/// @file
/// The two ways to a provider in memory: for hosts that load the library, and for hosts that link it.

/// Marks what the plug-in exports. Everything else in it is hidden.
#define QZSTORAGE_PLUGIN_EXPORT __attribute__((visibility("default")))

/// The entry point of the plug-in: stores a new provider with an empty file system in `*provider`, which lets
/// go of what it held before.
///
/// Thread safety: may be called from any number of threads, each with a pointer of its own.
/// @param provider  the caller's pointer
/// @throws std::invalid_argument when `provider` is null
/// @throws std::bad_alloc with `*provider` unchanged
extern "C" QZSTORAGE_PLUGIN_EXPORT void
buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider);

namespace storage::inmemoryprovider {

/// A new provider with an empty file system, for hosts in C++ that link the library.
/// @return the provider, alive as long as a pointer to it
/// @throws std::bad_alloc
QZSTORAGE_PLUGIN_EXPORT std::shared_ptr<InMemoryProvider> buildInMemoryProvider();

} // namespace storage::inmemoryprovider
