#pragma once

#include "tests/stress/threads/Random.h"

#include <string>
#include <string_view>
#include <vector>

namespace storage::stress {

// The set of all paths that the test can create. It is finite, so the final check can try every path.
//
// A name is a letter, its rank from "d" (highest) to "a" (lowest), and a digit. Ranks decrease along every
// path. A folder is only moved to a name of the same or a higher rank. Its descendants therefore stay within
// the set at any depth, while trees still move up, down and into one another.

inline constexpr std::u16string_view rootPath = u"/";

/// All paths except the root, sorted.
const std::vector<std::u16string>& everyPath();

/// A random path. Short paths are more likely, the root is rare.
std::u16string anyPath(Random& random);

/// A random target for moving the folder at `source`. May be below the source, where every move is refused.
std::u16string anyTargetForFolder(const std::u16string& source, Random& random);

std::u16string joined(std::u16string_view folder, std::u16string_view name);

/// Whether `path` is `folder` or a descendant of it.
bool isSelfOrBelow(std::u16string_view path, std::u16string_view folder);

/// Whether an entry can exist at `path`: one of all paths, or a temporary file of a copy to one of them.
bool isPossible(std::u16string_view path);

bool isTemporary(std::u16string_view path);

/// The path as text for messages.
std::string shown(std::u16string_view path);

} // namespace storage::stress
