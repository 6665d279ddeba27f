#pragma once

#include <string>

namespace storage::host {

/// The path of the entry `name` in the folder at `folder`.
std::string diskChild(const std::string& folder, const std::string& name);

/// The path that a word of a command names on the disk.
/// @throws CommandError when the word cannot be a path: it is empty or contains NUL
std::string diskOperand(const std::string& word);

/// The name that the entry at `path` has in its folder; empty when the path does not say it ("/", ".", "..").
std::string diskName(const std::string& path);

/// The path of the folder that holds the entry at `path`.
std::string diskParent(const std::string& path);

} // namespace storage::host
