#include "benchmarks/scenarios/FolderPlan.h"
#include "benchmarks/scenarios/Scenario.h"
#include "benchmarks/workload/RandomOrder.h"
#include "benchmarks/workload/WrongResult.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace storage::benchmark {

namespace {

constexpr std::uint32_t samples = 20;

ListingSummary summaryOf(const PathList& paths, PathIndex folder, const std::vector<PathIndex>& entries) {
    ListingSummary summary;
    const std::string prefix = paths[folder] + '/';
    for (const PathIndex entry : entries) {
        if (paths[entry].starts_with(prefix)) {
            summary.add(paths[entry].data() + prefix.size(), paths[entry].size() - prefix.size(),
                        EntryKind::File);
        }
    }
    return summary;
}

/// One round of the operations in a folder, with its own store. Each step continues from the state that the
/// previous one left. `present_` contains the current path of each file.
class FolderRound {
public:
    /// @param variant  the number of files as in the names of rows
    FolderRound(const StoreKind& kind, const FolderPlan& plan, std::string variant, Rows& rows)
        : kind_(kind),
          plan_(plan),
          variant_(std::move(variant)),
          rows_(rows),
          store_(kind.build()),
          present_(plan.count) {
        store_->prepare(plan_.paths.all());
        std::iota(present_.begin(), present_.end(), plan_.files);
    }

    /// Runs everything except the removal.
    void run() {
        create();
        giveContent();
        attributes();
        missing();
        list();
        if (kind_.can(Ability::MoveFile)) {
            move("move file inside", plan_.order.data(), plan_.renamed);
            move("move file between", plan_.order.data() + plan_.moves, plan_.others);
        }
    }

    void runRemovals() {
        makeFiles();
        const std::size_t half = present_.size() / 2;
        auto random = fixedRandom();
        std::shuffle(present_.begin() + static_cast<std::ptrdiff_t>(half), present_.end(), random);
        remove("remove in order", 0, half);
        remove("remove at random", half, present_.size());
        present_.clear();
        verifyListings();
    }

private:
    void create() {
        rows_.addCost("create", variant_, makeFiles());
        verifyListings();
    }

    Timing makeFiles() {
        store_->createFolder(plan_.folder);
        store_->createFolder(plan_.otherFolder);
        return measure(plan_.count, withoutBudget,
                       [&](std::size_t i) { store_->createFile(plan_.files + static_cast<PathIndex>(i)); });
    }

    void giveContent() {
        for (std::uint32_t file = 0; file < plan_.count; ++file) {
            if (sizeOf(file) > 0) {
                store_->overwriteFile(plan_.files + file, "content", sizeOf(file));
            }
        }
    }

    void attributes() {
        std::uint64_t sizes = 0;
        const Timing timing = measure(plan_.queries, plan_.queryBudget, [&](std::size_t i) {
            sizes += store_->fileSize(plan_.files + plan_.order[i]);
        });
        rows_.addCost("attributes", variant_, timing);
        std::uint64_t expected = 0;
        for (std::size_t i = 0; i < timing.operations; ++i) {
            expected += sizeOf(plan_.order[i]);
        }
        expectEqual(sizes, expected, "the sum of sizes");
    }

    void missing() {
        std::uint64_t found = 0;
        const Timing timing = measure(plan_.queries, plan_.queryBudget, [&](std::size_t i) {
            found += store_->exists(plan_.missing + plan_.missingOrder[i]) ? 1 : 0;
        });
        rows_.addCost("missing", variant_, timing);
        expectEqual(found, 0, "missing names that were found");
        for (std::uint32_t i = 0; i < samples; ++i) {
            expectTrue(store_->exists(plan_.files + plan_.order[i]), "a file exists");
        }
    }

    void list() {
        ListingSummary seen;
        Timing timing =
            measure(plan_.listings, withoutBudget, [&](std::size_t) { seen += store_->list(plan_.folder); });
        timing.operations = seen.entries;
        rows_.addCost("list", variant_, timing);
        ListingSummary expected;
        for (std::uint32_t i = 0; i < plan_.listings; ++i) {
            expected += summaryOf(plan_.paths, plan_.folder, present_);
        }
        expectTrue(seen == expected, "every listing has all names");
    }

    void move(const char* rowKind, const std::uint32_t* files, PathIndex destinations) {
        const Timing timing = measure(plan_.moves, plan_.queryBudget, [&](std::size_t i) {
            store_->moveFile(plan_.files + files[i], destinations + static_cast<PathIndex>(i));
        });
        rows_.addCost(rowKind, variant_, timing);
        for (std::uint32_t i = 0; i < timing.operations; ++i) {
            present_[files[i]] = destinations + i;
            if (i < samples) {
                expectTrue(!store_->exists(plan_.files + files[i]), "a moved file is gone from where it was");
                expectEqual(store_->fileSize(destinations + i), sizeOf(files[i]), "the size of a moved file");
            }
        }
        verifyListings();
    }

    void remove(const char* rowKind, std::size_t begin, std::size_t end) {
        const Timing timing = measure(end - begin, withoutBudget,
                                      [&](std::size_t i) { store_->removeFile(present_[begin + i]); });
        rows_.addCost(rowKind, variant_, timing);
        for (std::size_t i = 0; i < samples; ++i) {
            expectTrue(!store_->exists(present_[begin + i]), "a removed file is gone");
        }
    }

    void verifyListings() {
        for (const PathIndex folder : {plan_.folder, plan_.otherFolder}) {
            expectTrue(store_->list(folder) == summaryOf(plan_.paths, folder, present_),
                       plan_.paths[folder] + " holds what it should");
        }
    }

    /// Some files are not empty, so that their sizes show whether the attributes are those of the right file.
    std::uint64_t sizeOf(std::uint32_t file) const {
        return kind_.can(Ability::OverwriteFile) && file % 128 == 7 ? 1 + file % 5 : 0;
    }

    const StoreKind& kind_;
    const FolderPlan& plan_;
    const std::string variant_;
    Rows& rows_;
    std::unique_ptr<Store> store_;
    std::vector<PathIndex> present_; ///< the current path of each file
};

} // namespace

Scenario folderScenario(const std::string& variant, std::uint32_t count) {
    return {"folder-" + variant, {Ability::Create}, [=](const StoreKind& kind, Rows& rows) {
                const FolderPlan plan(count);
                for (std::uint32_t i = 0; i < plan.rounds; ++i) {
                    FolderRound(kind, plan, variant, rows).run();
                }
            }};
}

Scenario removalScenario(const std::string& variant, std::uint32_t count) {
    return {"remove-" + variant, {Ability::Create, Ability::Remove}, [=](const StoreKind& kind, Rows& rows) {
                const FolderPlan plan(count);
                for (std::uint32_t i = 0; i < plan.rounds; ++i) {
                    FolderRound(kind, plan, variant, rows).runRemovals();
                }
            }};
}

} // namespace storage::benchmark
