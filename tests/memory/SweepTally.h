#pragma once

#include <cstddef>
#include <set>
#include <string>

namespace storage::tests {

/// Statistics of the sweeps. Not thread-safe.
class SweepTally {
public:
    static SweepTally& instance();

    void countFailurePoints(std::size_t count) { failurePoints_ += count; }
    void countSurvivals(std::size_t count) { survivals_ += count; }
    void countEndings(std::size_t count) { endings_ += count; }
    void countOperation(const std::string& operation);
    void countOperationOn(const std::string& tree, const std::string& operation);

    /// The statistics as text.
    std::string summary() const;

private:
    SweepTally() = default;

    std::set<std::string> operations_;
    std::set<std::string> trees_;
    std::size_t sweeps_ = 0;
    std::size_t failurePoints_ = 0;
    std::size_t survivals_ = 0; ///< failure points at which the operation still succeeded
    std::size_t endings_ = 0;   ///< failure points at which the process ended
};

} // namespace storage::tests
