#pragma once

#include "tests/support/TreeSnapshot.h"

#include <map>
#include <string>

/// The bytes of every file by its path below a folder, and "folder" for every folder, whose path ends in a slash.
using TreeContents = std::map<std::string, std::string>;

TreeContents contentsOf(const TreeSnapshot& tree);

/// Of a folder on disk, which need not exist. Neither links nor special files are part of it.
TreeContents contentsOf(const std::string& diskFolder);
