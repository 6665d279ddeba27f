#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "inmemoryprovider/filesystem/PathIndex.h"

#include <cstddef>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

namespace storage::inmemoryprovider {

/// A map ordered by path that also finds fast when it is large.
///
/// Owns the map and, from a few elements on, an index of it by hash. An ordered look-up among a million paths
/// is twenty comparisons, each of them a wait for memory; the index needs one. Small maps have none: there the
/// comparisons are as fast, and trees have many small folders.
///
/// Between calls the index holds all elements or is not there, for want of elements or of memory.
///
/// Thread safety: that of a standard container; its owner guards it.
template <class Value>
class IndexedPathMap {
public:
    IndexedPathMap() = default;
    IndexedPathMap(const IndexedPathMap&) = delete; // positions of one map mean nothing in another
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

    /// The element at `path`, or the end.
    const_iterator find(std::u16string_view path) const noexcept {
        if (!index_) {
            return map_.find(path);
        }
        const auto found = index_.find(path);
        return found ? const_iterator(*found) : map_.end();
    }

    /// The first element whose path is not before `path`, or the end.
    const_iterator lower_bound(std::u16string_view path) const noexcept { return map_.lower_bound(path); }

    /// Inserts `value` at `path`, unless there is an element already: then the caller keeps it.
    /// @throws std::bad_alloc with nothing changed
    void tryEmplace(const InMemoryEntryPath& path, Value&& value) {
        const auto sizeBefore = map_.size();
        noteInserted(map_.try_emplace(hint(), path, std::move(value)), sizeBefore);
    }

    /// Inserts `node`, or, when there is an element at its path already, hands it back. None changes nothing.
    node_type insert(node_type node) noexcept {
        const auto sizeBefore = map_.size();
        noteInserted(map_.insert(hint(), std::move(node)), sizeBefore);
        return node; // NOLINT(bugprone-use-after-move): what the map did not take
    }

    /// Takes an element out and hands it to the caller.
    node_type extract(const_iterator position) noexcept {
        if (position == const_iterator(lastInserted_)) {
            lastInserted_ = map_.end();
        }
        // Without changing anything, this makes an iterator of a constant one.
        const auto element = map_.erase(position, position);
        if (index_) {
            index_.erase(element);
        }
        return map_.extract(element);
    }

    /// Makes room for `count` elements, so that the index need not grow while they are inserted.
    void expect(std::size_t count) noexcept {
        if (count >= worthAnIndex) {
            index_.build(map_.begin(), map_.end(), count);
        }
    }

    /// Does without the index until the next insertion, so that elements can be taken out for less.
    void dropIndex() noexcept { index_.reset(); }

    /// Empties this map and hands all elements to the caller.
    Map release() noexcept {
        index_.reset();
        Map released;
        released.swap(map_);
        lastInserted_ = map_.end();
        return released;
    }

private:
    /// Elements are often inserted in order: behind all others, or beside the one before, a place is found without a
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
    iterator lastInserted_ = map_.end(); ///< the end when it was taken out
};

} // namespace storage::inmemoryprovider
