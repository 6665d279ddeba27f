#pragma once

#include "inmemoryprovider/filesystem/PathHash.h"
#include "inmemoryprovider/filesystem/PathIndexSegment.h"
#include "inmemoryprovider/filesystem/PowerOfTwo.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace storage::inmemoryprovider {

/// A hash index of a map's elements by path, with lookups in O(1). Except for `build`, no operation rehashes
/// more than a few segments: rehashing one large table would block all threads that wait for the map.
///
/// Owns the elements' positions in segments (linear hashing). The lower bits of a hash select the segment.
/// Insertion adds segments one at a time; each new segment takes its elements from one older segment. Removal
/// merges segments in reverse order. A segment holds a few hundred elements and resizes its own table.
///
/// The index is an optimization: if allocation fails and an element has no place, the index is dropped, and
/// its owner searches the map instead. So no operation throws.
///
/// Externally synchronized.
template <class Position>
class PathIndex {
    using Segment = PathIndexSegment<Position>;
    using Hash = typename Segment::Hash;

public:
    /// The average number of elements per segment above which a segment is added.
    static constexpr std::size_t segmentSize = 384;

    /// Whether there is an index. `find`, `insert` and `erase` require one.
    explicit operator bool() const noexcept { return static_cast<bool>(first_); }

    std::size_t size() const noexcept { return size_; }

    /// Builds an index of the elements from `first` to `last` with room for `count`. If allocation fails,
    /// there is none.
    void build(Position first, Position last, std::size_t count) noexcept {
        reset();
        if (!makeSegments(count)) {
            reset();
            return;
        }
        for (; first != last && *this; ++first) {
            insert(first);
        }
    }

    void reset() noexcept { *this = PathIndex(); }

    /// The position of the element at `path`, if there is one.
    std::optional<Position> find(std::u16string_view path) const noexcept {
        const Hash hash = hashOfPath(path);
        return segment(segmentOf(hash)).find(path, hash);
    }

    /// Adds an element. Precondition: its path is not in the index.
    void insert(Position position) noexcept {
        const Hash hash = hashOfPath(position->first.view());
        if (!segment(segmentOf(hash)).insert(position, hash)) {
            reset();
            return;
        }
        if (++size_ > segmentCount() * segmentSize) {
            addSegment(); // if allocation fails, the existing ones grow
        }
    }

    /// Removes an element. Precondition: it is in the index.
    void erase(Position position) noexcept {
        const Hash hash = hashOfPath(position->first.view());
        segment(segmentOf(hash)).erase(position, hash);
        --size_;
        if (size_ < rest_.size() * segmentSize / sparse) {
            mergeLastSegment(); // if allocation fails, it stays
        }
    }

private:
    /// Segments are merged below `segmentSize / sparse` elements per segment.
    static constexpr std::size_t sparse = 4;

    static Hash hashOfPath(std::u16string_view path) noexcept { return static_cast<Hash>(hashOf(path)); }

    std::size_t segmentCount() const noexcept { return rest_.size() + 1; }

    /// The segment that holds the elements of segment `number` while that one does not exist.
    static std::size_t originOf(std::size_t number) noexcept { return number - floorPowerOfTwo(number); }

    std::size_t segmentOf(Hash hash) const noexcept {
        if (rest_.empty()) {
            return 0;
        }
        const std::size_t number = hash & (ceilPowerOfTwo(segmentCount()) - 1);
        return number < segmentCount() ? number : originOf(number);
    }

    const Segment& segment(std::size_t number) const noexcept {
        return number == 0 ? first_ : rest_[number - 1];
    }
    Segment& segment(std::size_t number) noexcept { return number == 0 ? first_ : rest_[number - 1]; }

    bool makeSegments(std::size_t count) noexcept {
        const std::size_t segments = ceilPowerOfTwo((count + segmentSize - 1) / segmentSize);
        if (segments > 1 && !reserve(segments - 1)) {
            return false;
        }
        const std::size_t share = count / segments;
        for (bool made = first_.makeTable(share); made && segmentCount() < segments;) {
            made = rest_.emplace_back().makeTable(share);
        }
        return segmentCount() == segments && static_cast<bool>(segment(segments - 1));
    }

    bool reserve(std::size_t segments) noexcept {
        try {
            rest_.reserve(segments);
        } catch (const std::bad_alloc&) {
            return false;
        }
        return true;
    }

    void addSegment() noexcept {
        if (rest_.size() == rest_.capacity() && !reserve(std::max<std::size_t>(1, 2 * rest_.size()))) {
            return;
        }
        const std::size_t number = segmentCount();
        const std::size_t mask = ceilPowerOfTwo(number + 1) - 1;
        Segment& origin = segment(originOf(number));
        Segment kept;
        Segment added;
        if (!kept.makeTable(origin.size() / 2) || !added.makeTable(origin.size() / 2)) {
            return;
        }
        bool complete = true;
        origin.forEach([&](const Position& position, Hash hash) {
            Segment& target = (hash & mask) == number ? added : kept;
            complete = complete && target.insert(position, hash);
        });
        if (complete) {
            origin = std::move(kept);
            rest_.push_back(std::move(added));
        }
    }

    void mergeLastSegment() noexcept {
        const Segment& last = rest_.back();
        Segment& origin = segment(originOf(rest_.size()));
        Segment merged;
        if (!merged.makeTable(origin.size() + last.size())) {
            return;
        }
        // `merged` has room for all.
        const auto take = [&](const Position& position, Hash hash) { merged.insert(position, hash); };
        origin.forEach(take);
        last.forEach(take);
        origin = std::move(merged);
        rest_.pop_back();
    }

    Segment first_; ///< not in `rest_`, because most folders have only this one
    std::vector<Segment> rest_;
    std::size_t size_ = 0;
};

} // namespace storage::inmemoryprovider
