#pragma once

#include <hostapi/storage/provider/StorageIRI.h>

#include <string>
#include <string_view>

namespace provider_template {

// Inside this provider the root is the empty path. Every other path is the path of its folder, a "/" and a
// name. All forms of a path that hosts may use are normalized to this one.

/// Returns the normalized path of an entry, without empty names: "/a//b/" becomes "/a/b".
std::u16string pathOf(const foundation::storage::provider::StorageIRI& iri);

/// Returns the path of the folder that contains an entry. The root is its own parent.
std::u16string parentOf(std::u16string_view path);

/// Returns the common prefix of the paths of all entries in a folder.
std::u16string prefixOf(std::u16string_view folder);

/// Returns whether `path` begins with `prefix`.
bool isBelow(std::u16string_view path, std::u16string_view prefix);

} // namespace provider_template
