#pragma once

namespace storage::host {

/// Something that happens, for which any number of threads can wait with poll(2) or epoll(7).
///
/// Owns its descriptor, which is readable from then on until `reset`. Thread safety: any number of threads.
class Event {
public:
    /// @throws std::system_error
    Event();
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void happen() const noexcept;

    /// It may happen again.
    void reset() const noexcept;

    int descriptor() const noexcept { return descriptor_; }

private:
    const int descriptor_;
};

} // namespace storage::host
