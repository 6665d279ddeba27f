#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace storage::core_operations {

using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;

/// Locations in an order that is random and always the same.
using Scattered = std::vector<StorageIRI>;

/// The locations that `locationOf` gives for the numbers below `count`.
Scattered scattered(unsigned count, const std::function<std::u16string(unsigned number)>& locationOf);

/// The locations of `count` files in one folder.
Scattered scatteredFiles(std::u16string_view folder, unsigned count);

void createFolder(const IProvider& storage, std::u16string_view path);
void createFiles(const IProvider& storage, std::span<const StorageIRI> files);

/// How many of the files there are.
unsigned long countOfFiles(const IProvider& storage, std::span<const StorageIRI> files);

} // namespace storage::core_operations
