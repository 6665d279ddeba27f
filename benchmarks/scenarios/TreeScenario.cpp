#include "benchmarks/scenarios/Scenario.h"

#include <string_view>

namespace storage::benchmark {

namespace {

/// Names and order of the files in a tree. A value.
struct TreeKind {
    const char* variant;
    std::string_view top;
    bool inRandomOrder; ///< whether the files are created in random order
    std::size_t shortestPath;
    std::size_t longestPath;
    std::string (*nameOf)(std::uint32_t number, bool missing);
};

std::string equalName(std::uint32_t number, bool missing) {
    return fmt::format("sourc{}-{:03}", missing ? 'f' : 'e', number);
}

std::string variedName(std::uint32_t number, bool missing) {
    constexpr std::string_view longestEnd = "-source-with-a-long-name";
    return fmt::format("{}{:02}{}", missing ? 'f' : 'e', number, longestEnd.substr(0, 4 + number % 21));
}

constexpr TreeKind equalPaths{"tree", "/home/build/projects/products/sources", false, 60, 60, equalName};
constexpr TreeKind variedPaths{"long paths", "/home/build/projects", true, 40, 60, variedName};

/// One run: the tree and its store.
class TreeRun {
public:
    TreeRun(const StoreKind& kind, const TreeKind& tree, std::uint32_t folders, Rows& rows)
        : tree_(tree), folderCount_(folders), rows_(rows), store_(kind.build()) {
        for (std::size_t end = tree.top.find('/', 1); end != std::string_view::npos;
             end = tree.top.find('/', end + 1)) {
            paths_.add(std::string(tree.top.substr(0, end)));
        }
        folders_ = paths_.add(std::string(tree.top)) + 1;
        for (std::uint32_t i = 0; i < folderCount_; ++i) {
            paths_.add(fmt::format("{}/folder-{:04}", tree.top, i));
        }
        files_ = addFiles(false);
        missing_ = addFiles(true);
        store_->prepare(paths_.all());
    }

    void create() {
        for (PathIndex path = 0; path < folders_; ++path) {
            store_->createFolder(path);
        }
        Timing timing = measure(folderCount_, withoutBudget, [&](std::size_t folder) {
            store_->createFolder(folders_ + static_cast<PathIndex>(folder));
            for (std::uint32_t i = 0; i < filesInFolder && !tree_.inRandomOrder; ++i) {
                store_->createFile(files_ + static_cast<PathIndex>(folder) * filesInFolder + i);
            }
        });
        if (tree_.inRandomOrder) {
            timing += measure(fileCount_, withoutBudget,
                              [&](std::size_t i) { store_->createFile(files_ + order_[i]); });
        }
        timing.operations = folderCount_ + fileCount_;
        rows_.addCost("create", tree_.variant, timing);
    }

    void attributes() {
        std::uint64_t sizes = 0;
        const Timing timing = measure(fileCount_, withoutBudget,
                                      [&](std::size_t i) { sizes += store_->fileSize(files_ + order_[i]); });
        rows_.addCost("attributes", tree_.variant, timing);
        expectEqual(sizes, 0, "the total size of empty files");
    }

    void missing() {
        std::uint64_t found = 0;
        const Timing timing = measure(fileCount_, queryBudget, [&](std::size_t i) {
            found += store_->exists(missing_ + order_[i]) ? 1 : 0;
        });
        rows_.addCost("missing", tree_.variant, timing);
        expectEqual(found, 0, "missing names that were found");
    }

    void list() {
        ListingSummary expected; // each folder has the same names
        for (PathIndex file = files_; file < files_ + filesInFolder; ++file) {
            const std::string name = paths_[file].substr(paths_[folders_].size() + 1);
            expected.add(name.data(), name.size(), EntryKind::File);
        }
        std::uint64_t wrong = 0;
        Timing timing = measure(folderCount_, queryBudget, [&](std::size_t i) {
            wrong += store_->list(folders_ + order_[i] % folderCount_) == expected ? 0 : 1;
        });
        timing.operations *= filesInFolder;
        rows_.addCost("list", tree_.variant, timing);
        expectEqual(wrong, 0, "incomplete listings");
    }

private:
    static constexpr std::uint32_t filesInFolder = 100;
    /// Look-ups and listings are linear in the size of the tree in some stores.
    static constexpr double queryBudget = 0.4;

    PathIndex addFiles(bool missing) {
        const PathIndex first = paths_.size();
        for (std::uint32_t i = 0; i < fileCount_; ++i) {
            const PathIndex file = paths_.add(paths_[folders_ + i / filesInFolder] + '/' +
                                              tree_.nameOf(i % filesInFolder, missing));
            const std::size_t length = paths_[file].size();
            expectTrue(tree_.shortestPath <= length && length <= tree_.longestPath,
                       "the length of a path is in the range of its kind");
        }
        return first;
    }

    const TreeKind& tree_;
    const std::uint32_t folderCount_;
    const std::uint32_t fileCount_ = folderCount_ * filesInFolder;
    Rows& rows_;
    PathList paths_;
    PathIndex folders_ = 0; ///< the first folder
    PathIndex files_ = 0;   ///< the first file; files are grouped by folder
    PathIndex missing_ = 0; ///< the first missing name; as many as files
    const std::vector<std::uint32_t> order_ = randomOrder(fileCount_);
    std::unique_ptr<Store> store_;
};

Scenario treeOf(const std::string& name, const TreeKind& tree, std::uint32_t folders) {
    return {name, {Ability::Create}, [&tree, folders](const StoreKind& kind, Rows& rows) {
                TreeRun run(kind, tree, folders, rows);
                run.create();
                run.attributes();
                run.missing();
                run.list();
            }};
}

} // namespace

Scenario treeScenario(std::uint32_t folders) {
    return treeOf("tree", equalPaths, folders);
}

Scenario longPathsScenario(std::uint32_t folders) {
    return treeOf("long-paths", variedPaths, folders);
}

} // namespace storage::benchmark
