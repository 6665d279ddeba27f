#pragma once

#include "benchmarks/results/Measurements.h"
#include "benchmarks/scenarios/FolderPlan.h"
#include "benchmarks/stores/StoreKind.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// One round of what is done in a folder, with a store of its own. Each step goes on from what the one before left;
/// `present_` says where each file is by then.
class FolderRound {
public:
    /// @param variant  the number of files as in the names of rows
    FolderRound(const StoreKind& kind, const FolderPlan& plan, std::string variant,
                Measurements& measurements);

    /// All but removing.
    void run();

    void runRemovals();

private:
    void create();
    Timing makeFiles();
    void giveContent();
    void attributes();
    void missing();
    void list();
    void move(const char* rowKind, const std::uint32_t* files, PathIndex destinations);
    void remove(const char* rowKind, std::size_t begin, std::size_t end);
    void verifyListings();
    std::uint64_t sizeOf(std::uint32_t file) const;
    RowId row(const char* kind) const { return {kind, variant_, plan_.count}; }

    const StoreKind& kind_;
    const FolderPlan& plan_;
    const std::string variant_;
    Measurements& measurements_;
    std::unique_ptr<Store> store_;
    std::vector<PathIndex> present_; ///< the path of each file
};

} // namespace storage::benchmark
