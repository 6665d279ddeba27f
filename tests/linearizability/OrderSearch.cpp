#include "tests/linearizability/OrderSearch.h"

#include "tests/linearizability/Replay.h"

#include <algorithm>
#include <numeric>

namespace storage::inmemoryprovider::tests {

OrderSearch::OrderSearch(const History& history) : history_(history), byEnd_(history.calls.size()) {
    std::iota(byEnd_.begin(), byEnd_.end(), std::size_t{0});
    std::sort(byEnd_.begin(), byEnd_.end(), [&](std::size_t left, std::size_t right) {
        return history.calls[left].end < history.calls[right].end;
    });
}

bool OrderSearch::succeeds() {
    order_.clear();
    return extend();
}

/// The model has no undo, so each attempt replays the whole order on a new model.
bool OrderSearch::extend() {
    Replay replay(history_);
    const bool explained =
        std::all_of(order_.begin(), order_.end(), [&](std::size_t call) { return replay.take(call); });
    if (!explained) {
        return false;
    }
    if (replay.explainsAll()) {
        return true;
    }
    return std::any_of(byEnd_.begin(), byEnd_.end(), [&](std::size_t call) {
        if (!replay.mayTake(call)) {
            return false;
        }
        order_.push_back(call);
        const bool found = extend();
        order_.pop_back();
        return found;
    });
}

} // namespace storage::inmemoryprovider::tests
