#pragma once

#include "benchmarks/results/Measurements.h"
#include "benchmarks/scenarios/FolderPlan.h"
#include "benchmarks/stores/StoreKind.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// One round of the operations in a folder, with its own store. Each step continues from the state that the
/// previous one left. `present_` contains the current path of each file.
class FolderRound {
public:
    /// @param variant  the number of files as in the names of rows
    FolderRound(const StoreKind& kind, const FolderPlan& plan, std::string variant,
                Measurements& measurements);

    /// Runs everything except the removal.
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
    std::vector<PathIndex> present_; ///< the current path of each file
};

} // namespace storage::benchmark
