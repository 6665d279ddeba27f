#pragma once

#include <hostapi/storage/provider/StorageIRI.h>

#include <string>
#include <string_view>

namespace provider_template {

// Inside this provider the root is the empty path, and every other path is that of its folder, a "/" and a name. All
// spellings of a path that hosts may use come down to one.

/// The path of the entry that a host means: without empty names, so "/a//b/" is "/a/b".
std::u16string pathOf(const foundation::storage::provider::StorageIRI& iri);

/// The path of the folder that an entry is in. The root is its own.
std::u16string parentOf(std::u16string_view path);

/// What the path of everything in a folder begins with.
std::u16string prefixOf(std::u16string_view folder);

/// Whether `path` begins with `prefix`.
bool isBelow(std::u16string_view path, std::u16string_view prefix);

} // namespace provider_template
