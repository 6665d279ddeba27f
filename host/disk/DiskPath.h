#pragma once

#include <string>

namespace storage::host {

/// The path of the entry `name` in the folder at `folder`.
std::string diskChild(const std::string& folder, const std::string& name);

/// Converts a command-line word to a path on disk.
/// @throws CommandError when the word is empty or contains NUL
std::string diskOperand(const std::string& word);

/// The name of the entry in its folder; empty if the path does not end in a name ("/", ".", "..").
std::string diskName(const std::string& path);

/// The path of the folder that contains the entry at `path`.
std::string diskParent(const std::string& path);

} // namespace storage::host
