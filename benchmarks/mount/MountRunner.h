#pragma once

#include "benchmarks/mount/Job.h"
#include "benchmarks/mount/MountBenchmarkOptions.h"
#include "benchmarks/mount/PlaceKind.h"
#include "benchmarks/mount/QuietMachine.h"
#include "benchmarks/results/Repetition.h"
#include "benchmarks/system/TmpfsFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// Runs all repetitions, each in its own process and place. The repetitions of the places are interleaved,
/// and each round of a job begins with another place. Noisy repetitions are repeated in further rounds.
class MountRunner {
public:
    /// @throws std::runtime_error
    explicit MountRunner(const MountBenchmarkOptions& options);

    /// @throws std::runtime_error at the first wrong result, Interrupted
    void run();

    const std::vector<PlaceKind>& places() const { return places_; }
    const std::vector<Repetition>& repetitions() const { return repetitions_; }

private:
    unsigned mostRounds() const;
    bool isWanted(const Job& job, const PlaceKind& place, unsigned round) const;
    void runJob(const Job& job, unsigned round, std::size_t first);
    void runOne(const Job& job, const PlaceKind& place, unsigned round);

    const MountBenchmarkOptions& options_;
    TmpfsFolder sourceFolder_;
    TmpfsFolder room_; ///< contains the place that is being measured
    QuietMachine quietMachine_{std::chrono::minutes(5)};
    std::vector<PlaceKind> places_;
    std::vector<std::unique_ptr<Job>> jobs_;
    std::vector<Repetition> repetitions_;
};

} // namespace storage::benchmark
