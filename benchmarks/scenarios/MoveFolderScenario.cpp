#include "benchmarks/scenarios/Scenario.h"

namespace storage::benchmark {

namespace {

constexpr std::uint32_t filesInMovedFolder = 100;

/// Adds the subfolders of a folder with their files, each subfolder before its files. Returns the first one.
PathIndex addSubtree(PathList& paths, PathIndex top, std::uint32_t subfolders) {
    const PathIndex first = paths.size();
    for (std::uint32_t i = 0; i < subfolders; ++i) {
        const std::string subfolder = fmt::format("{}/folder-{:04}", paths[top], i);
        paths.add(subfolder);
        paths.addFiles(subfolder, filesInMovedFolder);
    }
    return first;
}

} // namespace

void runFolderMoves(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t files,
                    std::uint32_t moves) {
    const std::uint32_t subfolders = files / filesInMovedFolder;
    const std::uint32_t descendants = subfolders * (1 + filesInMovedFolder);
    const auto isFolder = [](std::uint32_t descendant) { return descendant % (1 + filesInMovedFolder) == 0; };
    PathList paths; // first the names of the folder: the initial one and one per move
    for (std::uint32_t i = 0; i <= moves; ++i) {
        paths.add(fmt::format("/place-{:04}", i));
    }
    const PathIndex before = addSubtree(paths, 0, subfolders);
    const PathIndex after = addSubtree(paths, moves, subfolders);
    const auto store = kind.build(paths.all());
    store->createFolder(0);
    for (std::uint32_t i = 0; i < descendants; ++i) {
        isFolder(i) ? store->createFolder(before + i) : store->createFile(before + i);
    }
    Timing timing = measure(moves, [&](std::uint32_t i) { store->moveFolder(i, i + 1); });
    timing.operations *= descendants;
    rows.addCost("move folder", variant, timing);
    expectEqual(store->list(moves).entries, subfolders, "the number of moved folders");
    for (std::uint32_t i = 0; i < descendants; ++i) {
        expectTrue(!store->exists(before + i), "a moved entry does not exist at its old path");
        if (isFolder(i)) {
            expectEqual(store->list(after + i).entries, filesInMovedFolder, "files in a moved folder");
        } else {
            expectEqual(store->fileSize(after + i), 0, "the size of a moved file");
        }
    }
}

} // namespace storage::benchmark
