#pragma once

#include "inmemoryprovider/filesystem/PathHash.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace storage::inmemoryprovider {

/// Finds the elements of a map by the hash of their paths, in one step however many there are.
///
/// Owns a table of positions in the map, which stay valid while the elements are in the map. The position of a free slot
/// is never compared: comparing it with an iterator of the map is undefined. The table is a power of two in size, at most
/// three quarters of it in use, and a position is in the first free slot from the one that its hash names. The hashes are
/// kept beside the positions, so that neither growing nor erasing touches an element.
///
/// An index is a convenience: when there is no memory for it, it is dropped, and its owner asks the map.
/// So nothing here throws.
///
/// Thread safety: that of a container; its owner guards it.
template <class Position>
class PathIndex {
public:
    /// Whether there is a table. Without one nothing is found or inserted.
    explicit operator bool() const noexcept { return slots_ != nullptr; }

    std::size_t size() const noexcept { return size_; }

    /// Makes a table of the elements from `first` to `last` with room for `count`, or none if there is no memory for it.
    void build(Position first, Position last, std::size_t count) noexcept {
        reset();
        if (makeTable(capacityFor(count))) {
            for (; first != last; ++first) {
                place(first, storedHash(first->first.view()));
            }
        }
    }

    void reset() noexcept { *this = PathIndex(); }

    /// The position of the element at `path`, if there is one.
    std::optional<Position> find(std::u16string_view path) const noexcept {
        const auto hash = storedHash(path);
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
    void insert(Position position) noexcept {
        if (size_ == mostOf(capacity_) && !resize(2 * capacity_)) {
            reset();
            return;
        }
        place(position, storedHash(position->first.view()));
    }

    /// Forgets an element, which is in the table.
    void erase(Position position) noexcept {
        std::size_t hole = home(storedHash(position->first.view()));
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

private:
    /// All that the table keeps of a hash: enough to tell apart far more elements than memory holds.
    using StoredHash = std::uint32_t;

    struct Slot {
        Position position = {};
        StoredHash hash = 0;
        bool used = false;
    };

    static constexpr std::size_t smallest = 32;
    /// A table of which less than this part is used is halved. Well below a half of the fill at which it doubles,
    /// so that it does not go back and forth.
    static constexpr std::size_t sparse = 8;

    static StoredHash storedHash(std::u16string_view path) noexcept {
        return static_cast<StoredHash>(hashOf(path));
    }

    static std::size_t mostOf(std::size_t capacity) noexcept { return capacity / 4 * 3; }

    static std::size_t capacityFor(std::size_t count) noexcept {
        std::size_t capacity = smallest;
        while (mostOf(capacity) <= count) {
            capacity *= 2;
        }
        return capacity;
    }

    std::size_t home(StoredHash hash) const noexcept { return hash & (capacity_ - 1); }
    std::size_t after(std::size_t at) const noexcept { return (at + 1) & (capacity_ - 1); }
    std::size_t distance(std::size_t from, std::size_t to) const noexcept {
        return (to - from) & (capacity_ - 1);
    }

    bool makeTable(std::size_t capacity) noexcept {
        slots_.reset(new (std::nothrow) Slot[capacity]);
        capacity_ = capacity;
        size_ = 0;
        return slots_ != nullptr;
    }

    void place(const Position& position, StoredHash hash) noexcept {
        std::size_t at = home(hash);
        while (slots_[at].used) {
            at = after(at);
        }
        slots_[at] = {position, hash, true};
        ++size_;
    }

    bool resize(std::size_t capacity) noexcept {
        PathIndex resized;
        if (!resized.makeTable(capacity)) {
            return false;
        }
        for (std::size_t at = 0; at < capacity_; ++at) {
            if (slots_[at].used) {
                resized.place(slots_[at].position, slots_[at].hash);
            }
        }
        *this = std::move(resized);
        return true;
    }

    std::unique_ptr<Slot[]> slots_; // NOLINT(modernize-avoid-c-arrays): its size changes
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
};

} // namespace storage::inmemoryprovider
