#pragma once

#include <filesystem>

namespace storage::benchmark {

/// Makes the next reader of a file ask its file system for every byte: has the kernel give up the pages that it keeps of
/// the file. Without effect in tmpfs, whose pages are the file.
/// @throws WrongResult when pages stay
void dropCachedPages(const std::filesystem::path& path);

} // namespace storage::benchmark
