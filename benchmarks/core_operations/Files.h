#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::core_operations {

using provider::IProvider;
using provider::StorageIRI;

/// Locations in a random order that is the same in every run.
using Scattered = std::vector<StorageIRI>;

/// The locations `locationOf(number)` of all numbers below `count`.
Scattered scattered(unsigned count, const std::function<std::u16string(unsigned number)>& locationOf);

/// The locations of `count` files in one folder.
Scattered scatteredFiles(std::u16string_view folder, unsigned count);

/// Folders below a folder with a long name, and the locations of files in them, whose paths have 60 code units. Makes the
/// folders.
Scattered scatteredInTree(const IProvider& storage, unsigned folders, unsigned filesPerFolder);

void createFolder(const IProvider& storage, std::u16string_view path);
void createFiles(const IProvider& storage, std::span<const StorageIRI> files);

/// The number of files that exist.
unsigned long countOfFiles(const IProvider& storage, std::span<const StorageIRI> files);

} // namespace storage::core_operations
