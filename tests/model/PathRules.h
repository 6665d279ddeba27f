#pragma once

#include <string>
#include <string_view>

/// The provider's path rules, implemented independently for the model. A path is a normalized text.
namespace storage::inmemoryprovider::tests {

/// The text under which the provider stores the path `text`.
std::u16string normalised(std::u16string_view text);

/// The path of the parent folder; empty for the root and for a text without "/".
std::u16string parentOf(std::u16string_view path);

bool hasParent(std::u16string_view path);

std::u16string nameOf(std::u16string_view path);

/// The new path of a child `name` when its folder is moved to `path`, child by child.
std::u16string appended(std::u16string_view path, std::u16string_view name);

/// Whether `folder` is `path`, one of its ancestors, or the empty path.
bool isSelfOrBelow(std::u16string_view path, std::u16string_view folder);

/// Whether `left` comes before `right` in a listing.
bool sortsBefore(std::u16string_view left, std::u16string_view right);

/// A text that addresses the entry stored under `path`.
std::u16string addressOf(const std::u16string& path);

} // namespace storage::inmemoryprovider::tests
