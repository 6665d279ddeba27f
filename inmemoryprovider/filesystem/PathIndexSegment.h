#pragma once

#include "inmemoryprovider/filesystem/PowerOfTwo.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace storage::inmemoryprovider {

/// A hash table of positions in a map: one segment of a PathIndex.
///
/// Owns a table of positions, which stay valid while the elements are in the map. The position of a free slot is never
/// compared: comparing it with an iterator of the map is undefined. The table is a power of two in size, at most three
/// quarters of it in use, and a position is in the first free slot from the one that the upper bits of its hash name. The
/// hashes are kept beside the positions, so that neither growing nor erasing touches an element.
///
/// Nothing here throws: an operation that finds no memory returns false and changes nothing.
///
/// Thread safety: that of a container; its owner guards it.
template <class Position>
class PathIndexSegment {
public:
    /// All that the table keeps of a hash: enough to tell apart far more elements than memory holds.
    using Hash = std::uint32_t;

    std::size_t size() const noexcept { return size_; }

    /// Replaces the table by an empty one with room for `count` elements.
    bool makeTable(std::size_t count) noexcept { return makeTableOf(capacityFor(count)); }

    /// Whether there is a table. The operations below require one.
    explicit operator bool() const noexcept { return slots_ != nullptr; }

    /// The position of the element at `path`, which has `hash`, if there is one.
    std::optional<Position> find(std::u16string_view path, Hash hash) const noexcept {
        for (std::size_t at = home(hash);; at = after(at)) {
            const Slot& slot = slots_[at];
            if (!slot.used) {
                return std::nullopt;
            }
            if (slot.hash == hash && slot.position->first == path) {
                return slot.position;
            }
        }
    }

    /// Takes in an element whose path is not in the table yet.
    bool insert(const Position& position, Hash hash) noexcept {
        if (size_ == mostOf(capacity_) && !resize(2 * capacity_)) {
            return false;
        }
        place(position, hash);
        return true;
    }

    /// Forgets an element, which is in the table.
    void erase(const Position& position, Hash hash) noexcept {
        std::size_t hole = home(hash);
        while (slots_[hole].position != position) {
            hole = after(hole);
        }
        // What follows moves up, unless it would come before the place that its hash names.
        for (std::size_t at = after(hole); slots_[at].used; at = after(at)) {
            if (distance(home(slots_[at].hash), at) >= distance(hole, at)) {
                slots_[hole] = slots_[at];
                hole = at;
            }
        }
        slots_[hole] = Slot();
        --size_;
        if (size_ < capacity_ / sparse && capacity_ > smallest) {
            resize(capacity_ / 2); // without memory for it, the large table goes on serving
        }
    }

    /// Calls `use` with the position and the hash of each element.
    template <class Use>
    void forEach(const Use& use) const noexcept {
        for (std::size_t at = 0; at < capacity_; ++at) {
            if (slots_[at].used) {
                use(slots_[at].position, slots_[at].hash);
            }
        }
    }

private:
    struct Slot {
        Position position = {};
        Hash hash = 0;
        bool used = false;
    };

    static constexpr std::size_t smallest = 32;
    /// A table of which less than this part is used is halved. Well below a half of the fill at which it doubles,
    /// so that it does not go back and forth.
    static constexpr std::size_t sparse = 8;

    static std::size_t mostOf(std::size_t capacity) noexcept { return capacity / 4 * 3; }

    static std::size_t capacityFor(std::size_t count) noexcept {
        std::size_t capacity = smallest;
        while (mostOf(capacity) <= count) {
            capacity *= 2;
        }
        return capacity;
    }

    /// The upper bits, because the lower ones chose the segment.
    std::size_t home(Hash hash) const noexcept {
        return hash >> (std::numeric_limits<Hash>::digits - floorLog2(capacity_));
    }
    std::size_t after(std::size_t at) const noexcept { return (at + 1) & (capacity_ - 1); }
    std::size_t distance(std::size_t from, std::size_t to) const noexcept {
        return (to - from) & (capacity_ - 1);
    }

    bool makeTableOf(std::size_t capacity) noexcept {
        slots_.reset(new (std::nothrow) Slot[capacity]);
        capacity_ = static_cast<std::uint32_t>(capacity);
        size_ = 0;
        return slots_ != nullptr;
    }

    void place(const Position& position, Hash hash) noexcept {
        std::size_t at = home(hash);
        while (slots_[at].used) {
            at = after(at);
        }
        slots_[at] = {position, hash, true};
        ++size_;
    }

    bool resize(std::size_t capacity) noexcept {
        PathIndexSegment resized;
        if (!resized.makeTableOf(capacity)) {
            return false;
        }
        forEach([&](const Position& position, Hash hash) { resized.place(position, hash); });
        *this = std::move(resized);
        return true;
    }

    std::unique_ptr<Slot[]> slots_; // NOLINT(modernize-avoid-c-arrays): its size changes
    std::uint32_t capacity_ = 0;
    std::uint32_t size_ = 0;
};

} // namespace storage::inmemoryprovider
