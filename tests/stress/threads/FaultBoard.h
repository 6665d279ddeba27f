#pragma once

#include <atomic>
#include <mutex>
#include <string>

namespace storage::stress {

/// The first fault that any thread has met; it ends the storm.
///
/// `mutex_` guards the text. Thread safety: every operation may be called from any number of threads.
class FaultBoard {
public:
    void report(const std::string& fault);

    /// Cheap enough to be asked before every operation.
    bool hasFault() const noexcept { return hasFault_.load(std::memory_order_relaxed); }

    std::string text() const;

private:
    mutable std::mutex mutex_;
    std::string text_;
    std::atomic<bool> hasFault_ = false;
};

} // namespace storage::stress
