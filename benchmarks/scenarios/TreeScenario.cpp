#include "benchmarks/scenarios/Scenario.h"

#include "benchmarks/scenarios/PathList.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <fmt/format.h>
#include <memory>
#include <string_view>

namespace storage::benchmark {

namespace {

constexpr std::uint32_t filesInFolder = 100;
constexpr std::size_t pathLength = 60;
constexpr double queryBudget = 0.4; // look-ups and listings are linear in the tree's size in some stores
constexpr std::string_view top = "/home/build/projects/products/sources";

/// One run: the tree and its store.
class TreeRun {
public:
    TreeRun(const StoreKind& kind, std::uint32_t folders, Rows& rows);

    void create();
    void attributes();
    void missing();
    void list();

private:
    std::uint32_t fileCount() const { return folderCount_ * filesInFolder; }

    const std::uint32_t folderCount_;
    Rows& rows_;
    PathList paths_;
    PathIndex folders_ = 0; ///< the first folder
    PathIndex files_ = 0;   ///< the first file; files are grouped by folder
    PathIndex missing_ = 0; ///< the first missing name; as many as files
    std::vector<std::uint32_t> order_;
    std::unique_ptr<Store> store_;
};

TreeRun::TreeRun(const StoreKind& kind, std::uint32_t folders, Rows& rows)
    : folderCount_(folders), rows_(rows), order_(randomOrder(fileCount())), store_(kind.build()) {
    for (std::size_t end = top.find('/', 1); end != std::string_view::npos; end = top.find('/', end + 1)) {
        paths_.add(std::string(top.substr(0, end)));
    }
    folders_ = paths_.add(std::string(top)) + 1;
    for (std::uint32_t i = 0; i < folderCount_; ++i) {
        paths_.add(fmt::format("{}/folder-{:04}", top, i));
    }
    files_ = folders_ + folderCount_;
    for (std::uint32_t i = 0; i < fileCount(); ++i) {
        paths_.add(fmt::format("{}/folder-{:04}/source-{:03}", top, i / filesInFolder, i % filesInFolder));
    }
    missing_ = files_ + fileCount();
    for (std::uint32_t i = 0; i < fileCount(); ++i) {
        paths_.add(fmt::format("{}/folder-{:04}/sourcf-{:03}", top, i / filesInFolder, i % filesInFolder));
    }
    expectEqual(paths_[files_].size(), pathLength, "the length of a path");
    store_->prepare(paths_.all());
}

void TreeRun::create() {
    for (PathIndex path = 0; path < folders_; ++path) {
        store_->createFolder(path);
    }
    Timing timing = measure(folderCount_, withoutBudget, [&](std::size_t folder) {
        store_->createFolder(folders_ + static_cast<PathIndex>(folder));
        const PathIndex first = files_ + static_cast<PathIndex>(folder) * filesInFolder;
        for (PathIndex file = first; file < first + filesInFolder; ++file) {
            store_->createFile(file);
        }
    });
    timing.operations = folderCount_ + fileCount();
    rows_.addCost("create", "tree", timing);
}

void TreeRun::attributes() {
    std::uint64_t sizes = 0;
    const Timing timing = measure(fileCount(), withoutBudget,
                                  [&](std::size_t i) { sizes += store_->fileSize(files_ + order_[i]); });
    rows_.addCost("attributes", "tree", timing);
    expectEqual(sizes, 0, "the sum of the sizes of empty files");
}

void TreeRun::missing() {
    std::uint64_t found = 0;
    const Timing timing = measure(fileCount(), queryBudget, [&](std::size_t i) {
        found += store_->exists(missing_ + order_[i]) ? 1 : 0;
    });
    rows_.addCost("missing", "tree", timing);
    expectEqual(found, 0, "missing names that were found");
}

void TreeRun::list() {
    ListingSummary expected;
    for (PathIndex file = files_; file < files_ + filesInFolder; ++file) { // each folder has the same names
        const std::string name = paths_[file].substr(paths_[folders_].size() + 1);
        expected.add(name.data(), name.size(), EntryKind::File);
    }
    std::uint64_t wrong = 0;
    Timing timing = measure(folderCount_, queryBudget, [&](std::size_t i) {
        wrong += store_->list(folders_ + order_[i] % folderCount_) == expected ? 0 : 1;
    });
    timing.operations *= filesInFolder;
    rows_.addCost("list", "tree", timing);
    expectEqual(wrong, 0, "listings that lack names");
}

} // namespace

Scenario treeScenario(std::uint32_t folders) {
    return {"tree", {Ability::Create}, [=](const StoreKind& kind, Rows& rows) {
                TreeRun run(kind, folders, rows);
                run.create();
                run.attributes();
                run.missing();
                run.list();
            }};
}

} // namespace storage::benchmark
