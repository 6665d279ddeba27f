#pragma once

#include <string>
#include <string_view>

/// The rules of path texts, restated plainly for the model: a path is nothing but its normalised text.
namespace storage::inmemoryprovider::tests {

/// The text under which the provider keeps what a caller calls `text`.
std::u16string normalised(std::u16string_view text);

/// Where the entry at `path` belongs; empty for the root and for a text without "/".
std::u16string parentOf(std::u16string_view path);

bool hasParent(std::u16string_view path);

std::u16string nameOf(std::u16string_view path);

/// Where a child called `name` goes when the folder at `path` gets its children one by one.
std::u16string appended(std::u16string_view path, std::u16string_view name);

/// Whether `folder` is met on the way from `path` up to the empty path, both ends counting.
bool isSelfOrBelow(std::u16string_view path, std::u16string_view folder);

/// Whether `left` comes before `right` in a listing.
bool sortsBefore(std::u16string_view left, std::u16string_view right);

/// A text that a caller may give to reach the entry kept under `path`.
std::u16string addressOf(const std::u16string& path);

} // namespace storage::inmemoryprovider::tests
