#include "benchmarks/scenarios/Scenario.h"

#include <algorithm>
#include <numeric>

namespace storage::benchmark {

namespace {

/// The operations in one folder. Each round has a new store. A single round in a small folder would be too
/// short to time. Each step continues from the state that the previous one left. Paths and orders are prepared
/// before the timing.
///
/// Some operations of some stores are linear in the size of the store. A time budget limits their number.
class FolderRun {
public:
    /// @param variant  the number of files, as text for the results
    FolderRun(const StoreKind& kind, const std::string& variant, std::uint32_t count, std::uint32_t rounds,
              Rows& rows)
        : kind_(kind), variant_(variant), count_(count), budget_(allBudgets / rounds), rows_(rows) {
        paths_.add("/folder");
        paths_.add("/other");
        paths_.addFiles("/folder", count_);
        for (std::uint32_t i = 0; i < queries_; ++i) { // evenly distributed among the files
            paths_.add(fmt::format("/folder/f{:07}x", i * (count_ / queries_)));
        }
        for (std::uint32_t i = 0; i < moves_; ++i) {
            paths_.add(fmt::format("/folder/g{:07}", order_[i]));
        }
        for (std::uint32_t i = 0; i < moves_; ++i) {
            paths_.add(fmt::format("/other/f{:07}", order_[moves_ + i]));
        }
    }

    /// A round of everything except the removal.
    void run() {
        begin();
        rows_.addCost("create", variant_, makeFiles());
        verifyListings();
        giveContent();
        attributes();
        missing();
        list();
        if (kind_.can(Ability::ChangeFiles)) {
            move("move file inside", order_.data(), renamed_);
            move("move file between", order_.data() + moves_, others_);
        }
    }

    /// A round of the removal.
    void remove() {
        begin();
        makeFiles();
        const std::size_t half = present_.size() / 2;
        auto random = fixedRandom();
        std::shuffle(present_.begin() + static_cast<std::ptrdiff_t>(half), present_.end(), random);
        removeFiles("remove in order", 0, half);
        removeFiles("remove at random", half, present_.size());
        present_.clear();
        verifyListings();
    }

private:
    static constexpr std::uint32_t mostQueries = 200'000;
    static constexpr std::uint32_t mostMoves = 100'000;
    static constexpr std::uint32_t samples = 20;
    static constexpr double allBudgets = 0.4; ///< in seconds, of the operations of one kind in all rounds
    static constexpr PathIndex folder = 0;
    static constexpr PathIndex otherFolder = 1;
    static constexpr PathIndex files = 2;

    void begin() {
        store_.reset(); // first: two stores of a kind may share a folder
        store_ = kind_.build(paths_.all());
        present_.resize(count_);
        std::iota(present_.begin(), present_.end(), files);
    }

    Timing makeFiles() {
        store_->createFolder(folder);
        store_->createFolder(otherFolder);
        return measure(count_, [&](std::uint32_t i) { store_->createFile(files + i); });
    }

    void giveContent() {
        for (std::uint32_t file = 0; file < count_; ++file) {
            if (sizeOf(file) > 0) {
                store_->overwriteFile(files + file, "content", sizeOf(file));
            }
        }
    }

    void attributes() {
        std::uint64_t sizes = 0;
        const Timing timing = measure(queries_, budget_,
                                      [&](std::uint32_t i) { sizes += store_->fileSize(files + order_[i]); });
        rows_.addCost("attributes", variant_, timing);
        std::uint64_t expected = 0;
        for (std::size_t i = 0; i < timing.operations; ++i) {
            expected += sizeOf(order_[i]);
        }
        expectEqual(sizes, expected, "the total size");
    }

    void missing() {
        std::uint64_t found = 0;
        const Timing timing = measure(queries_, budget_, [&](std::uint32_t i) {
            found += store_->exists(missing_ + missingOrder_[i]) ? 1 : 0;
        });
        rows_.addCost("missing", variant_, timing);
        expectEqual(found, 0, "missing files that were found");
        for (std::uint32_t i = 0; i < samples; ++i) {
            expectTrue(store_->exists(files + order_[i]), "a file exists");
        }
    }

    void list() {
        ListingSummary seen;
        Timing timing = measure(1U, [&](unsigned) { seen = store_->list(folder); });
        timing.operations = seen.entries;
        rows_.addCost("list", variant_, timing);
        expectTrue(seen == summaryOf(folder), "a listing has all names");
    }

    void move(const char* row, const std::uint32_t* moved, PathIndex destinations) {
        const Timing timing = measure(
            moves_, budget_, [&](std::uint32_t i) { store_->moveFile(files + moved[i], destinations + i); });
        rows_.addCost(row, variant_, timing);
        for (std::uint32_t i = 0; i < timing.operations; ++i) {
            present_[moved[i]] = destinations + i;
            if (i < samples) {
                expectTrue(!store_->exists(files + moved[i]), "a moved file does not exist at its old path");
                expectEqual(store_->fileSize(destinations + i), sizeOf(moved[i]), "the size of a moved file");
            }
        }
        verifyListings();
    }

    void removeFiles(const char* row, std::size_t begin, std::size_t end) {
        rows_.addCost(row, variant_,
                      measure(end - begin, [&](std::size_t i) { store_->removeFile(present_[begin + i]); }));
        for (std::size_t i = 0; i < samples; ++i) {
            expectTrue(!store_->exists(present_[begin + i]), "a removed file does not exist");
        }
    }

    void verifyListings() {
        for (const PathIndex each : {folder, otherFolder}) {
            expectTrue(store_->list(each) == summaryOf(each), "a listing has the expected entries");
        }
    }

    ListingSummary summaryOf(PathIndex parent) const {
        ListingSummary summary;
        const std::string prefix = paths_[parent] + '/';
        for (const PathIndex file : present_) {
            if (paths_[file].starts_with(prefix)) {
                summary.addFile(paths_[file]);
            }
        }
        return summary;
    }

    /// Some files are not empty, so that their sizes show whether the attributes are those of the right file.
    std::uint64_t sizeOf(std::uint32_t file) const {
        return kind_.can(Ability::ChangeFiles) && file % 128 == 7 ? 1 + file % 5 : 0;
    }

    const StoreKind& kind_;
    const std::string& variant_;
    const std::uint32_t count_;                                   ///< files in the folder
    const std::uint32_t queries_ = std::min(count_, mostQueries); ///< of attributes; as many missing names
    const std::uint32_t moves_ = std::min(count_ / 2, mostMoves); ///< inside; as many to the other folder
    const double budget_;
    Rows& rows_;
    const std::vector<std::uint32_t> order_ = randomOrder(count_);
    const std::vector<std::uint32_t> missingOrder_ = randomOrder(queries_);
    PathList paths_;
    const PathIndex missing_ = files + count_;      ///< the first missing name
    const PathIndex renamed_ = missing_ + queries_; ///< the first new name in the folder
    const PathIndex others_ = renamed_ + moves_;    ///< the first name in the other folder
    std::unique_ptr<Store> store_;
    std::vector<PathIndex> present_; ///< the current path of each file
};

} // namespace

void runFolder(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t count,
               std::uint32_t rounds) {
    FolderRun run(kind, variant, count, rounds, rows);
    for (std::uint32_t i = 0; i < rounds; ++i) {
        run.run();
    }
}

void runRemovals(const StoreKind& kind, Rows& rows, const std::string& variant, std::uint32_t count,
                 std::uint32_t rounds) {
    FolderRun run(kind, variant, count, rounds, rows);
    for (std::uint32_t i = 0; i < rounds; ++i) {
        run.remove();
    }
}

} // namespace storage::benchmark
