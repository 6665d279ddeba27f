#include "tests/stress/threads/FirstViolation.h"

namespace storage::stress {

void FirstViolation::report(const std::string& violation) {
    const std::lock_guard lock(mutex_);
    if (!isSet_) {
        text_ = violation;
        isSet_ = true;
    }
}

std::string FirstViolation::text() const {
    const std::lock_guard lock(mutex_);
    return text_;
}

} // namespace storage::stress
