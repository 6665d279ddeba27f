#pragma once

#include "hostapi/storage/provider/StorageIRI.h"

#include <string_view>

namespace foundation::storage::provider {

/// Whether `iri` is the folder that has none above it: it says so, or there is no name in its resolved path.
bool isRoot(const StorageIRI& iri);

// Locations that the default operations derive from the caller's. Their resolved path and their path are the
// same text, so that it makes no difference which of the two an operation goes by.

/// The location of the entry with `name`, which may be empty, in `folder`.
StorageIRI locationBelow(const StorageIRI& folder, std::u16string_view name);

/// The folder that `entry` is in.
StorageIRI folderOf(const StorageIRI& entry);

/// The location of `name` in the folder that `entry` is in.
StorageIRI locationBeside(const StorageIRI& entry, std::u16string_view name);

/// The shortest spelling of the same location: one separator at the beginning, none at the end. Those within the path stay, and
/// so do two or more at the end: a storage may hold folders whose name is empty.
StorageIRI canonicalLocation(const StorageIRI& iri);

} // namespace foundation::storage::provider
