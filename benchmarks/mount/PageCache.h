#pragma once

#include <filesystem>

namespace storage::benchmark {

/// Drops a file's pages from the page cache, so that the next read reaches its file system. Has no effect on
/// a tmpfs, where the page cache is the file.
/// @throws WrongResult when pages remain
void dropCachedPages(const std::filesystem::path& path);

} // namespace storage::benchmark
