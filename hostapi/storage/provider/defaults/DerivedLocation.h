#pragma once

#include "hostapi/storage/provider/StorageIRI.h"

#include <string_view>

namespace foundation::storage::provider {

/// Whether `iri` is the root: it has no parent, or no name in its resolved path.
bool isRoot(const StorageIRI& iri);

// Locations that the default operations derive from the caller's. Their resolved path and their path are the
// same text, so it does not matter which of the two an operation uses.

/// The location of the entry with `name`, which may be empty, in `folder`.
StorageIRI locationBelow(const StorageIRI& folder, std::u16string_view name);

/// The parent folder of `entry`.
StorageIRI folderOf(const StorageIRI& entry);

/// The location of `name` in the parent folder of `entry`.
StorageIRI locationBeside(const StorageIRI& entry, std::u16string_view name);

/// The canonical form of a location: at most one separator at the beginning; a single one at the end is
/// removed. Two or more there, and separators within the path, stay, because a storage may hold folders with
/// an empty name.
StorageIRI canonicalLocation(const StorageIRI& iri);

} // namespace foundation::storage::provider
