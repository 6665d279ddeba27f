#pragma once

namespace storage::host {

/// An event that any number of threads can wait for with poll(2) or epoll(7).
///
/// Owns its descriptor, which is readable from `set` until `reset`. Thread-safe.
class Event {
public:
    /// @throws std::system_error
    Event();
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set() const noexcept;

    /// Makes the descriptor unreadable again.
    void reset() const noexcept;

    int descriptor() const noexcept { return descriptor_; }

private:
    const int descriptor_;
};

} // namespace storage::host
