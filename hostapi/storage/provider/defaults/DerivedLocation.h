#pragma once

#include "hostapi/storage/provider/StorageIRI.h"

#include <string_view>

namespace foundation::storage::provider {

/// Whether `iri` names the folder that has none above it.
bool isRoot(const StorageIRI& iri);

// Locations that the default operations derive from the caller's. Their resolved path and their path are the
// same text, so that it makes no difference which of the two an operation goes by.

/// The location of the entry at `relativePath`, one name or several with "/" between them, below `folder`.
StorageIRI locationBelow(const StorageIRI& folder, std::u16string_view relativePath);

/// The location in the same folder whose name is that of `entry` with `ending` behind it.
StorageIRI locationBeside(const StorageIRI& entry, std::u16string_view ending);

} // namespace foundation::storage::provider
