#pragma once

#include <atomic>
#include <cstdint>

namespace storage::inmemoryprovider {

/// Tells readers that take no lock whether a move was under way while they looked: its steps, unlike those of other
/// changes, show things that never were, such as an entry at two places.
///
/// Owns a count that is odd while a move is under way. Moves exclude one another by a lock of their own.
class MoveCounter {
public:
    /// A move, under way as long as this lives.
    class [[nodiscard]] Move {
    public:
        explicit Move(MoveCounter& counter) noexcept : count_(counter.count_) { ++count_; }
        Move(const Move&) = delete;
        Move& operator=(const Move&) = delete;
        ~Move() { ++count_; }

    private:
        std::atomic<std::uint64_t>& count_;
    };

    /// The beginning of a look.
    std::uint64_t start() const noexcept { return count_.load(); }

    /// Whether no move was under way since `start`. Who met a step of a move, under whatever lock guards that step, is
    /// told so.
    bool undisturbedSince(std::uint64_t start) const noexcept {
        return start % 2 == 0 && count_.load() == start;
    }

private:
    std::atomic<std::uint64_t> count_ = 0;
};

} // namespace storage::inmemoryprovider
