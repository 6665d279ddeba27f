#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "inmemoryprovider/filesystem/PathIndex.h"

#include <cstddef>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

namespace storage::inmemoryprovider {

/// A map ordered by path, with a hash index for fast lookups in large maps.
///
/// Owns the map and, from `worthAnIndex` elements on, the index. An ordered lookup among a million paths
/// takes twenty comparisons, each with a cache miss; the index takes one. Small maps have no index:
/// comparisons are as fast there, and trees have many small folders.
///
/// Invariant: the index is complete or absent. It is absent if the map has never been large, if allocation
/// failed, or after `dropIndex` or `release`.
///
/// Externally synchronized.
template <class Value>
class IndexedPathMap {
public:
    IndexedPathMap() = default;
    IndexedPathMap(const IndexedPathMap&) = delete; // the index refers to this map
    IndexedPathMap& operator=(const IndexedPathMap&) = delete;
    ~IndexedPathMap() = default;

    using Map = std::map<InMemoryEntryPath, Value>;
    using iterator = typename Map::iterator;
    using const_iterator = typename Map::const_iterator;
    using node_type = typename Map::node_type;

    bool empty() const noexcept { return map_.empty(); }
    std::size_t size() const noexcept { return map_.size(); }
    const_iterator begin() const noexcept { return map_.begin(); }
    const_iterator end() const noexcept { return map_.end(); }

    /// The element at `path`, or the end iterator.
    const_iterator find(std::u16string_view path) const noexcept {
        if (!index_) {
            return map_.find(path);
        }
        const auto found = index_.find(path);
        return found ? const_iterator(*found) : map_.end();
    }

    /// The first element with a path that is not less than `path`, or the end iterator.
    const_iterator lower_bound(std::u16string_view path) const noexcept { return map_.lower_bound(path); }

    /// Inserts `value` at `path`. If an element exists there, `value` is not moved from.
    /// @throws std::bad_alloc with nothing changed
    void tryEmplace(const InMemoryEntryPath& path, Value&& value) {
        const auto sizeBefore = map_.size();
        noteInserted(map_.try_emplace(hint(), path, std::move(value)), sizeBefore);
    }

    /// Inserts `node`. An empty node has no effect.
    /// @return `node` if an element exists at its path, otherwise an empty node
    node_type insert(node_type node) noexcept {
        const auto sizeBefore = map_.size();
        noteInserted(map_.insert(hint(), std::move(node)), sizeBefore);
        return node; // NOLINT(bugprone-use-after-move): moved from only if inserted
    }

    /// Removes an element and returns it.
    node_type extract(const_iterator position) noexcept {
        if (position == const_iterator(lastInserted_)) {
            lastInserted_ = map_.end();
        }
        // Erasing an empty range converts the const_iterator to an iterator.
        const auto element = map_.erase(position, position);
        if (index_) {
            index_.erase(element);
        }
        return map_.extract(element);
    }

    /// Builds an index for `count` elements, so that it need not grow while they are inserted.
    void expect(std::size_t count) noexcept {
        if (count >= worthAnIndex) {
            index_.build(map_.begin(), map_.end(), count);
        }
    }

    /// Drops the index until the next insertion, so that removals are cheaper.
    void dropIndex() noexcept { index_.reset(); }

    /// Removes all elements and returns them.
    Map release() noexcept {
        index_.reset();
        Map released;
        released.swap(map_);
        lastInserted_ = map_.end();
        return released;
    }

private:
    /// Elements are often inserted in order. At the end, or next to the previous insertion, the hint avoids a
    /// search.
    const_iterator hint() const noexcept {
        const bool behindAll =
            lastInserted_ == map_.end() || const_iterator(lastInserted_) == std::prev(map_.end());
        return behindAll ? map_.end() : const_iterator(lastInserted_);
    }

    void noteInserted(iterator element, std::size_t sizeBefore) noexcept {
        if (map_.size() == sizeBefore) {
            return;
        }
        lastInserted_ = element;
        if (index_) {
            index_.insert(element);
        } else if (map_.size() >= worthAnIndex) {
            index_.build(map_.begin(), map_.end(), map_.size());
        }
    }

    static constexpr std::size_t worthAnIndex = 16;

    Map map_;
    PathIndex<iterator> index_;
    iterator lastInserted_ = map_.end(); ///< the end iterator if it was removed
};

} // namespace storage::inmemoryprovider
