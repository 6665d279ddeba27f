#pragma once

#include "inmemoryprovider/InMemoryProvider.h"

#include "hostapi/storage/provider/IProvider.h"

#include <memory>

/// @file
/// The two functions that create an in-memory provider: for hosts that load the library, and for hosts that
/// link it.

/// Marks the exported symbols of the plug-in. All others are hidden.
#define QZSTORAGE_PLUGIN_EXPORT __attribute__((visibility("default")))

/// The entry point of the plug-in: stores a new provider with an empty file system in `*provider`, and
/// releases the old value.
///
/// Thread-safe, if each thread passes its own pointer.
/// @param provider  the caller's pointer
/// @throws std::invalid_argument when `provider` is null
/// @throws std::bad_alloc with `*provider` unchanged
extern "C" QZSTORAGE_PLUGIN_EXPORT void
buildProvider_V1(std::shared_ptr<foundation::storage::provider::IProvider>* provider);

namespace storage::inmemoryprovider {

/// Creates a provider with an empty file system, for C++ hosts that link the library.
/// @return the provider, which exists as long as a pointer to it
/// @throws std::bad_alloc
QZSTORAGE_PLUGIN_EXPORT std::shared_ptr<InMemoryProvider> buildInMemoryProvider();

} // namespace storage::inmemoryprovider
