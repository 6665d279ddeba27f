#include "benchmarks/core_operations/Files.h"
#include "benchmarks/core_operations/Operations.h"
#include "tests/stress/Violation.h"

#include <fmt/xchar.h>

#include <memory>

namespace storage::core_operations {

using stress::requireThat;

namespace {

constexpr unsigned folderSize = 10'000;

/// Gets the attributes of every file.
Measurement attributesOf(const IProvider& storage, const Scattered& files) {
    const auto writable = std::make_shared<unsigned long>(0);
    return {files.size(),
            [&storage, files, writable] {
                for (const auto& file : files) {
                    *writable += storage.doGetFileAttributes(file).isWritable() ? 1 : 0;
                }
            },
            [writable, count = files.size()] {
                requireThat(*writable == count, "only ", *writable, " of ", count, " files are writable");
            }};
}

} // namespace

Measurement fileAttributes(const IProvider& storage) {
    createFolder(storage, u"/files");
    const Scattered files = scatteredFiles(u"/files", folderSize);
    createFiles(storage, files);
    return attributesOf(storage, files);
}

Measurement fileAttributesInTree(const IProvider& storage) {
    const Scattered files = scatteredInTree(storage, 100, 100);
    createFiles(storage, files);
    return attributesOf(storage, files);
}

Measurement missingFile(const IProvider& storage) {
    createFolder(storage, u"/files");
    createFiles(storage, scatteredFiles(u"/files", folderSize));
    const Scattered missing = scattered(
        folderSize, [](unsigned number) { return fmt::format(u"/files/document-{:05}.old", number); });
    const auto found = std::make_shared<unsigned long>(folderSize);
    return {folderSize, [&storage, missing, found] { *found = countOfFiles(storage, missing); },
            [found] { requireThat(*found == 0, *found, " missing files were found"); }};
}

Measurement listFolder(const IProvider& storage) {
    constexpr unsigned long listings = 20;
    constexpr unsigned entries = 1000;
    const StorageIRI folder(u"/files");
    storage.doCreateFolder(folder);
    const Scattered files = scatteredFiles(u"/files", entries);
    createFiles(storage, files);
    const auto length = std::make_shared<std::size_t>(0);
    return {listings * entries,
            [&storage, folder, length] {
                for (unsigned long turn = 0; turn < listings; ++turn) {
                    const auto listing = storage.doListAll(folder);
                    while (listing->hasNext()) {
                        listing->step();
                        *length += listing->getEntry().getName().size();
                    }
                }
            },
            [length,
             expected = listings * entries * (files.front().getPath().size() - folder.getPath().size() - 1)] {
                requireThat(*length == expected, "the names listed are ", *length, " long, not ", expected);
            }};
}

} // namespace storage::core_operations
