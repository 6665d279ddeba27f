#include "benchmarks/scenarios/Scenario.h"

namespace storage::benchmark {

namespace {

/// One run: the tree, the sequence of its names, and the tree under the last name.
class MoveFolderRun {
public:
    MoveFolderRun(const StoreKind& kind, std::uint32_t files, std::uint32_t moves)
        : folders_(files / filesInFolder), moves_(moves), store_(kind.build()) {
        for (std::uint32_t i = 0; i <= moves; ++i) {
            paths_.add(fmt::format("/place-{:04}", i));
        }
        before_ = addTree(0);
        after_ = addTree(moves_);
        store_->prepare(paths_.all());
        store_->createFolder(0);
        for (std::uint32_t i = 0; i < descendants(); ++i) {
            isFolder(i) ? store_->createFolder(before_ + i) : store_->createFile(before_ + i);
        }
    }

    Timing move() {
        Timing timing = measure(moves_, withoutBudget, [&](std::size_t i) {
            store_->moveFolder(static_cast<PathIndex>(i), static_cast<PathIndex>(i + 1));
        });
        timing.operations *= descendants();
        return timing;
    }

    void verify() {
        expectEqual(store_->list(moves_).entries, folders_, "the number of moved folders");
        for (std::uint32_t i = 0; i < descendants(); ++i) {
            expectTrue(!store_->exists(before_ + i), "a moved entry does not exist at its old path");
            if (isFolder(i)) {
                expectEqual(store_->list(after_ + i).entries, filesInFolder,
                            "the number of files in a moved folder");
            } else {
                expectEqual(store_->fileSize(after_ + i), 0, "the size of a moved file");
            }
        }
    }

private:
    static constexpr std::uint32_t filesInFolder = 100;

    PathIndex addTree(PathIndex top) {
        const PathIndex first = paths_.size();
        for (std::uint32_t folder = 0; folder < folders_; ++folder) {
            const std::string path = fmt::format("{}/folder-{:04}", paths_[top], folder);
            paths_.add(path);
            for (std::uint32_t file = 0; file < filesInFolder; ++file) {
                paths_.add(fmt::format("{}/file-{:03}", path, file));
            }
        }
        return first;
    }

    std::uint32_t descendants() const { return folders_ + folders_ * filesInFolder; }
    static bool isFolder(std::uint32_t descendant) { return descendant % (filesInFolder + 1) == 0; }

    std::uint32_t folders_;
    std::uint32_t moves_;
    PathList paths_;       ///< first the names of the folder: one per move and the initial one
    PathIndex before_ = 0; ///< the first descendant; folders precede their files
    PathIndex after_ = 0;
    std::unique_ptr<Store> store_;
};

} // namespace

Scenario moveFolderScenario(const std::string& variant, std::uint32_t files, std::uint32_t moves) {
    return {"move-folder-" + variant, {Ability::MoveFolder}, [=](const StoreKind& kind, Rows& rows) {
                MoveFolderRun run(kind, files, moves);
                rows.addCost("move folder", variant, run.move());
                run.verify();
            }};
}

} // namespace storage::benchmark
