#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <map>
#include <string>

/// A whole tree: the bytes of every file by its path below the top, and "folder" for every folder, whose path ends in
/// a slash.
using TreeSnapshot = std::map<std::string, std::string>;

TreeSnapshot snapshotOf(const foundation::storage::provider::IProvider& provider);

/// Of a folder on disk, which need not exist. Neither links nor special files are part of a snapshot.
TreeSnapshot snapshotOf(const std::string& diskFolder);
