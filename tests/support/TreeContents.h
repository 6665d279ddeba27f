#pragma once

#include "tests/support/TreeSnapshot.h"

#include <map>
#include <string>

/// Maps the path of every file below a folder to its bytes, and the path of every folder, with a trailing
/// slash, to "folder".
using TreeContents = std::map<std::string, std::string>;

TreeContents contentsOf(const TreeSnapshot& tree);

/// Reads a folder on disk, which need not exist. Skips symbolic links and special files.
TreeContents contentsOf(const std::string& diskFolder);
