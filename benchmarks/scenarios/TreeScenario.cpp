#include "benchmarks/scenarios/Scenario.h"

#include <string_view>

namespace storage::benchmark {

namespace {

enum class FileOrder { ByFolder, Random };

/// Names of the files in a tree, and the order of their creation. A value.
struct TreeKind {
    const char* variant;
    const char* top;
    FileOrder order;
    std::string (*nameOf)(std::uint32_t number, char letter); ///< missing names have another letter
};

std::string equallyLongName(std::uint32_t number, char letter) {
    return fmt::format("sourc{}-{:03}", letter, number);
}

std::string variedName(std::uint32_t number, char letter) {
    constexpr std::string_view longestEnd = "-source-with-a-long-name";
    return fmt::format("{}{:02}{}", letter, number, longestEnd.substr(0, 4 + number % 21));
}

constexpr TreeKind equalPaths{"tree", "/home/build/projects/products/sources", FileOrder::ByFolder,
                              equallyLongName};
constexpr TreeKind variedPaths{"long paths", "/home/build/projects", FileOrder::Random, variedName};

constexpr std::uint32_t filesInTreeFolder = 100;

/// The paths of a tree. Files and missing names are grouped by folder.
struct TreePaths {
    TreePaths(const TreeKind& tree, std::uint32_t folderCount) {
        const std::string top = tree.top;
        for (std::size_t end = top.find('/', 1); end != std::string::npos; end = top.find('/', end + 1)) {
            list.add(top.substr(0, end));
        }
        folders = list.add(top) + 1;
        for (std::uint32_t i = 0; i < folderCount; ++i) {
            list.add(fmt::format("{}/folder-{:04}", top, i));
        }
        files = addNames(tree, folderCount, 'e');
        missing = addNames(tree, folderCount, 'f');
    }

    PathList list;
    PathIndex folders = 0; ///< the first one; those above precede it
    PathIndex files = 0;
    PathIndex missing = 0;

private:
    PathIndex addNames(const TreeKind& tree, std::uint32_t folderCount, char letter) {
        const PathIndex first = list.size();
        for (std::uint32_t i = 0; i < folderCount * filesInTreeFolder; ++i) {
            list.add(list[folders + i / filesInTreeFolder] + '/' +
                     tree.nameOf(i % filesInTreeFolder, letter));
        }
        return first;
    }
};

Timing createTree(Store& store, const TreeKind& tree, const TreePaths& paths,
                  const std::vector<std::uint32_t>& randomFiles) {
    for (PathIndex path = 0; path < paths.folders; ++path) {
        store.createFolder(path);
    }
    Timing timing = measure(paths.files - paths.folders, [&](std::uint32_t folder) {
        store.createFolder(paths.folders + folder);
        if (tree.order == FileOrder::ByFolder) {
            createFiles(store, paths.files + folder * filesInTreeFolder, filesInTreeFolder);
        }
    });
    if (tree.order == FileOrder::Random) {
        timing += measure(randomFiles.size(),
                          [&](std::size_t i) { store.createFile(paths.files + randomFiles[i]); });
    }
    timing.operations = paths.missing - paths.folders;
    return timing;
}

void runTreeOf(const TreeKind& tree, const StoreKind& kind, Rows& rows, std::uint32_t folderCount) {
    constexpr double queryBudget = 0.4; // some stores look up and list in linear time
    const std::vector<std::uint32_t> order = randomOrder(folderCount * filesInTreeFolder);
    const TreePaths paths(tree, folderCount);
    const auto store = kind.build(paths.list.all());
    rows.addCost("create", tree.variant, createTree(*store, tree, paths, order));

    std::uint64_t sizes = 0;
    rows.addCost("attributes", tree.variant, measure(order.size(), [&](std::size_t i) {
                     sizes += store->fileSize(paths.files + order[i]);
                 }));
    expectEqual(sizes, 0, "the total size of empty files");

    std::uint64_t found = 0;
    rows.addCost("missing", tree.variant, measure(order.size(), queryBudget, [&](std::size_t i) {
                     found += store->exists(paths.missing + order[i]) ? 1 : 0;
                 }));
    expectEqual(found, 0, "missing names that were found");

    ListingSummary expected; // each folder has the same names
    for (PathIndex file = paths.files; file < paths.files + filesInTreeFolder; ++file) {
        expected.addFile(paths.list[file]);
    }
    std::uint64_t wrong = 0;
    Timing listing = measure(folderCount, queryBudget, [&](std::uint32_t i) {
        wrong += store->list(paths.folders + order[i] % folderCount) == expected ? 0 : 1;
    });
    listing.operations *= filesInTreeFolder;
    rows.addCost("list", tree.variant, listing);
    expectEqual(wrong, 0, "incomplete listings");
}

} // namespace

void runTree(const StoreKind& kind, Rows& rows, std::uint32_t folders) {
    runTreeOf(equalPaths, kind, rows, folders);
}

void runLongPaths(const StoreKind& kind, Rows& rows, std::uint32_t folders) {
    runTreeOf(variedPaths, kind, rows, folders);
}

} // namespace storage::benchmark
