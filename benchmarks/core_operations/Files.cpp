#include "benchmarks/core_operations/Files.h"

#include "tests/stress/Violation.h"

#include <fmt/xchar.h>

#include <algorithm>
#include <random>

namespace storage::core_operations {

Scattered scattered(unsigned count, const std::function<std::u16string(unsigned number)>& locationOf) {
    Scattered locations;
    locations.reserve(count);
    for (unsigned number = 0; number < count; ++number) {
        locations.emplace_back(locationOf(number));
    }
    std::shuffle(locations.begin(), locations.end(), std::mt19937(count));
    return locations;
}

Scattered scatteredFiles(std::u16string_view folder, unsigned count) {
    return scattered(
        count, [folder](unsigned number) { return fmt::format(u"{}/document-{:05}.txt", folder, number); });
}

Scattered scatteredInTree(const IProvider& storage, unsigned folders, unsigned filesPerFolder) {
    const auto folderPath = [](unsigned number) {
        return fmt::format(u"/a-folder-with-a-rather-long-name/folder-{:04}", number);
    };
    createFolder(storage, u"/a-folder-with-a-rather-long-name");
    for (unsigned number = 0; number < folders; ++number) {
        createFolder(storage, folderPath(number));
    }
    Scattered files = scattered(folders * filesPerFolder, [&](unsigned number) {
        return fmt::format(u"{}/file-{:05}.txt", folderPath(number / filesPerFolder),
                           number % filesPerFolder);
    });
    stress::requireThat(files.front().getPath().size() == 60, "the paths are ",
                        files.front().getPath().size(), " long");
    return files;
}

void createFolder(const IProvider& storage, std::u16string_view path) {
    storage.doCreateFolder(StorageIRI(std::u16string(path)));
}

void createFiles(const IProvider& storage, std::span<const StorageIRI> files) {
    for (const auto& file : files) {
        storage.doCreateFile(file);
    }
}

unsigned long countOfFiles(const IProvider& storage, std::span<const StorageIRI> files) {
    const auto exists = [&storage](const StorageIRI& file) { return storage.doFileExists(file); };
    return static_cast<unsigned long>(std::ranges::count_if(files, exists));
}

} // namespace storage::core_operations
