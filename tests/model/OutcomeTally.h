#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <string>

namespace storage::inmemoryprovider::tests {

/// Counts the outcomes of each operation over many sequences, to verify that the sequences reach all of them.
class OutcomeTally {
public:
    void count(const std::string& operation, const std::string& outcome) { ++counts_[operation][outcome]; }

    std::size_t of(const std::string& operation, const std::string& outcome) const;

    /// One line for each operation and outcome.
    void print(std::ostream& out) const;

private:
    std::map<std::string, std::map<std::string, std::size_t>> counts_;
};

} // namespace storage::inmemoryprovider::tests
