#include "tests/memory/SweepTally.h"

namespace storage::tests {

SweepTally& SweepTally::instance() {
    static SweepTally tally;
    return tally;
}

void SweepTally::countOperation(const std::string& operation) {
    operations_.insert(operation);
    ++sweeps_;
}

void SweepTally::countOperationOn(const std::string& tree, const std::string& operation) {
    trees_.insert(tree);
    countOperation(operation);
}

std::string SweepTally::summary() const {
    return std::to_string(operations_.size()) + " operations on " + std::to_string(trees_.size()) +
           " trees (" + std::to_string(sweeps_) + " sweeps), " + std::to_string(failurePoints_) +
           " failure points (" + std::to_string(endings_) + " in messages of internal exceptions, " +
           std::to_string(survivals_) + " survived)";
}

} // namespace storage::tests
