#pragma once

#include <atomic>
#include <mutex>
#include <string>

namespace storage::stress {

/// The first violation that any thread found. It ends the test.
///
/// `mutex_` guards the text. Thread-safe.
class FirstViolation {
public:
    void report(const std::string& violation);

    /// Cheap enough to call before every operation.
    bool isSet() const noexcept { return isSet_.load(std::memory_order_relaxed); }

    std::string text() const;

private:
    mutable std::mutex mutex_;
    std::string text_;
    std::atomic<bool> isSet_ = false;
};

} // namespace storage::stress
