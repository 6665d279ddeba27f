#pragma once

#include "tests/linearizability/History.h"

#include <cstddef>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Searches for a linearization of a history: an order of the steps of all calls. If one call ended before
/// another began, its steps come first. The reference model, called in this order, must return the same
/// results and end with the same tree.
class OrderSearch {
public:
    /// @param history  must outlive this object
    explicit OrderSearch(const History& history);

    /// Whether such an order exists.
    bool succeeds();

private:
    bool extend();

    const History& history_;
    std::vector<std::size_t> byEnd_; ///< the calls by their end, which is the most likely order
    std::vector<std::size_t> order_; ///< the steps taken so far, as numbers of their calls
};

} // namespace storage::inmemoryprovider::tests
