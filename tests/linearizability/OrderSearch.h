#pragma once

#include "tests/linearizability/History.h"

#include <cstddef>
#include <vector>

namespace storage::inmemoryprovider::tests {

/// Looks for an order of the steps of all calls that explains a history: a call that ended before another began comes
/// before it, and the reference model, called in this order, returns what the calls returned and is left with the same tree.
class OrderSearch {
public:
    /// @param history  outlives this object
    explicit OrderSearch(const History& history);

    /// Whether there is such an order.
    bool succeeds();

private:
    bool extend();

    const History& history_;
    std::vector<std::size_t> byEnd_; ///< the calls, those first that ended first: most likely in this order
    std::vector<std::size_t> order_; ///< of the steps taken so far, by the numbers of their calls
};

} // namespace storage::inmemoryprovider::tests
