#pragma once

#include "tests/stress/threads/Random.h"

#include <string>
#include <string_view>
#include <vector>

namespace storage::stress {

// Every path that the storm can ever bring about, so that all of them can be tried when it is quiet.
//
// A name is a letter that tells its rank, "d" the highest and "a" the lowest, and a digit. Along every path the ranks
// fall. A folder is moved only to where its name has at least the rank that it has now; so whatever is below it stays
// within these paths too, at any depth, while trees still move up, down and into one another.

inline constexpr std::u16string_view rootPath = u"/";

/// All of them but the root, sorted.
const std::vector<std::u16string>& everyPath();

/// One of them; short ones are chosen more often, the root now and then.
std::u16string anyPath(Random& random);

/// Where a folder at `source` may be moved. Also places below the source itself, where it is always refused.
std::u16string anyTargetForFolder(const std::u16string& source, Random& random);

std::u16string joined(std::u16string_view folder, std::u16string_view name);

/// Whether `path` is `folder` or lies below it.
bool isSelfOrBelow(std::u16string_view path, std::u16string_view folder);

/// Whether an entry may ever stand at `path`: one of all paths, or the temporary file of a copy to one of them.
bool isPossible(std::u16string_view path);

bool isTemporary(std::u16string_view path);

/// For messages.
std::string shown(std::u16string_view path);

} // namespace storage::stress
