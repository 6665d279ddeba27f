#include "tests/stress/threads/FaultBoard.h"

namespace storage::stress {

void FaultBoard::report(const std::string& fault) {
    const std::lock_guard lock(mutex_);
    if (!hasFault_) {
        text_ = fault;
        hasFault_ = true;
    }
}

std::string FaultBoard::text() const {
    const std::lock_guard lock(mutex_);
    return text_;
}

} // namespace storage::stress
