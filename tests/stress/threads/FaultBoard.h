#pragma once

#include <atomic>
#include <mutex>
#include <string>

namespace storage::stress {

/// The first fault of any thread. It ends the storm.
///
/// `mutex_` guards the text. Thread-safe.
class FaultBoard {
public:
    void report(const std::string& fault);

    /// Cheap enough to call before every operation.
    bool hasFault() const noexcept { return hasFault_.load(std::memory_order_relaxed); }

    std::string text() const;

private:
    mutable std::mutex mutex_;
    std::string text_;
    std::atomic<bool> hasFault_ = false;
};

} // namespace storage::stress
