#include "benchmarks/core_operations/Files.h"
#include "benchmarks/core_operations/Operations.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"

#include <fmt/xchar.h>

namespace storage::core_operations {

using provider::ReplacementPolicy;
using stress::requireThat;

namespace {

constexpr unsigned folderSize = 10'000;

} // namespace

// The folder doubles in size, so the count includes the amortized cost of growth exactly once.
Measurement createFile(const IProvider& storage) {
    createFolder(storage, u"/files");
    const Scattered files = scatteredFiles(u"/files", 2 * folderSize);
    createFiles(storage, std::span(files).first(folderSize));
    return {folderSize, [&storage, files] { createFiles(storage, std::span(files).last(folderSize)); },
            [&storage, files] {
                requireThat(countOfFiles(storage, files) == files.size(), "not every file was made");
            }};
}

Measurement createFileInTree(const IProvider& storage) {
    const Scattered files = scatteredInTree(storage, 100, 100);
    return {files.size(), [&storage, files] { createFiles(storage, files); },
            [&storage, files] {
                requireThat(countOfFiles(storage, files) == files.size(), "not every file was made");
            }};
}

Measurement removeFile(const IProvider& storage) {
    createFolder(storage, u"/files");
    const Scattered files = scatteredFiles(u"/files", 2 * folderSize);
    createFiles(storage, files);
    return {
        folderSize,
        [&storage, files] {
            for (const auto& file : std::span(files).first(folderSize)) {
                storage.doRemoveFile(file);
            }
        },
        [&storage, files] {
            const std::span all(files);
            requireThat(countOfFiles(storage, all.first(folderSize)) == 0, "removed files are still there");
            requireThat(countOfFiles(storage, all.last(folderSize)) == folderSize, "other files are lost");
        }};
}

Measurement moveFile(const IProvider& storage) {
    createFolder(storage, u"/from");
    createFolder(storage, u"/to");
    const Scattered sources = scatteredFiles(u"/from", folderSize);
    createFiles(storage, sources);
    createFiles(storage, scatteredFiles(u"/to", folderSize));
    Scattered destinations;
    for (const auto& source : sources) {
        destinations.emplace_back(u"/to/moved-" +
                                  source.getPath().substr(std::u16string_view(u"/from/").size()));
    }
    return {folderSize,
            [&storage, sources, destinations] {
                for (std::size_t index = 0; index < folderSize; ++index) {
                    storage.doMoveFile(sources[index], destinations[index],
                                       ReplacementPolicy::RefuseExisting);
                }
            },
            [&storage, sources, destinations] {
                requireThat(countOfFiles(storage, sources) == 0, "moved files are where they were");
                requireThat(countOfFiles(storage, destinations) == folderSize, "moved files are lost");
            }};
}

Measurement moveFolder(const IProvider& storage) {
    constexpr unsigned long moves = 10;
    constexpr unsigned folders = 10;
    constexpr unsigned filesPerFolder = 100;
    std::vector<StorageIRI> places;
    for (unsigned long place = 0; place <= moves; ++place) {
        places.emplace_back(fmt::format(u"/project-{:02}", place));
    }
    storage.doCreateFolder(places.front());
    for (unsigned folder = 0; folder < folders; ++folder) {
        const auto path = fmt::format(u"{}/folder-{:02}", places.front().getPath(), folder);
        createFolder(storage, path);
        createFiles(storage, scatteredFiles(path, filesPerFolder));
    }
    return {moves * (folders + folders * filesPerFolder),
            [&storage, places] {
                for (unsigned long place = 0; place < moves; ++place) {
                    storage.doMoveFolder(places[place], places[place + 1], ReplacementPolicy::RefuseExisting);
                }
            },
            [&storage, places] {
                requireThat(storage.doListAllRecursiveNamesOnly(places.back()).size() ==
                                folders + folders * filesPerFolder,
                            "the folder did not arrive with all that it held");
            }};
}

} // namespace storage::core_operations
