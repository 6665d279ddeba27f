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
/// Owns a table with open addressing and linear probing. Its capacity is a power of two, and at most three
/// quarters of the slots are used. The upper bits of a hash select the first slot. The hashes are stored
/// beside the positions, so that growing and erasing do not access the elements.
///
/// A position is an iterator, valid while its element is in the map. The position of a free slot must not be
/// compared with an iterator of the map: the behaviour is undefined.
///
/// No operation throws. If allocation fails, `makeTable` returns false and leaves no table; `insert` returns
/// false and changes nothing.
///
/// Externally synchronized.
template <class Position>
class PathIndexSegment {
public:
    /// The part of a hash that the table stores. 32 bits keep collisions rare for all maps that fit into
    /// memory.
    using Hash = std::uint32_t;

    std::size_t size() const noexcept { return size_; }

    /// Makes an empty table with room for `count` elements. Precondition: there is no table.
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

    /// Adds an element. Precondition: its path is not in the table.
    bool insert(const Position& position, Hash hash) noexcept {
        if (size_ == mostOf(capacity_) && !resize(2 * capacity_)) {
            return false;
        }
        place(position, hash);
        return true;
    }

    /// Removes an element. Precondition: it is in the table.
    void erase(const Position& position, Hash hash) noexcept {
        std::size_t hole = home(hash);
        while (slots_[hole].position != position) {
            hole = after(hole);
        }
        // Moves each following element into the hole, unless the hole is before the first slot of its hash.
        for (std::size_t at = after(hole); slots_[at].used; at = after(at)) {
            if (distance(home(slots_[at].hash), at) >= distance(hole, at)) {
                slots_[hole] = slots_[at];
                hole = at;
            }
        }
        slots_[hole] = Slot();
        --size_;
        if (size_ < capacity_ / sparse && capacity_ > smallest) {
            resize(capacity_ / 2); // if allocation fails, the larger table stays
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
    /// A table is halved if less than 1/`sparse` of it is used. That is well below half of the fill at which
    /// it doubles, so the size does not oscillate.
    static constexpr std::size_t sparse = 8;

    static std::size_t mostOf(std::size_t capacity) noexcept { return capacity / 4 * 3; }

    static std::size_t capacityFor(std::size_t count) noexcept {
        std::size_t capacity = smallest;
        while (mostOf(capacity) <= count) {
            capacity *= 2;
        }
        return capacity;
    }

    /// The upper bits, because the lower bits select the segment.
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
