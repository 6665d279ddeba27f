#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <map>
#include <thread>
#include <utility>

namespace storage::inmemoryprovider {

/// An ordered map that any number of threads read without ever waiting while one writer changes it.
///
/// Owns two copies of the map. Readers use the published copy; the writer changes the other, publishes it,
/// waits until the last reader has left the copy published before, and repeats the change there.
///
/// What guards it: readers count themselves in and out; a writer never touches a copy that a counted reader
/// may use. Writers exclude one another by a lock of their own, which this class does not have. The writer's
/// wait is for look-ups already under way, never for new ones: two counters are used in turn, so that a
/// stream of new readers cannot hold the writer up.
///
/// Between calls both copies are equal. `Value` is default-constructible, its default meaning "absent";
/// copying it does not throw.
template <class Key, class Value>
class LeftRightMap {
    using Map = std::map<Key, Value>;

public:
    /// An element outside the map: everything that its insertion takes, so that it allocates nothing.
    class Element {
    public:
        /// What the element holds; an empty value if it is none.
        Value value() const { return nodes_[0] ? nodes_[0].mapped() : Value(); }

    private:
        friend LeftRightMap;
        std::array<typename Map::node_type, 2> nodes_;
    };

    LeftRightMap() = default;
    LeftRightMap(const LeftRightMap&) = delete;
    LeftRightMap& operator=(const LeftRightMap&) = delete;
    ~LeftRightMap() = default;

    /// The value under `key`, or an empty one. For any thread; never waits.
    Value find(const Key& key) const noexcept {
        const Reading reading(*this);
        return valueIn(copies_[published_.load()], key);
    }

    /// As `find`, for the one thread that may write, which need not be counted.
    Value findAsWriter(const Key& key) const noexcept { return valueIn(copies_[published_.load()], key); }

    /// Does the allocating part of an insertion. May throw and changes nothing.
    static Element prepare(const Key& key, const Value& value) {
        Element element;
        for (auto& node : element.nodes_) {
            Map single;
            single.emplace(key, value);
            node = single.extract(single.begin());
        }
        return element;
    }

    /// Inserts what was prepared or erased; a value that is already under the key stays, and none changes
    /// nothing. For the writer.
    void insert(Element element) noexcept {
        changeBoth([&](std::size_t copy) { copies_[copy].insert(std::move(element.nodes_[copy])); });
    }

    /// Takes out the element under `key`, if there is one, and hands it to the caller, who decides where it
    /// dies, or inserts it again. For the writer.
    Element erase(const Key& key) noexcept {
        Element erased;
        changeBoth([&](std::size_t copy) { erased.nodes_[copy] = copies_[copy].extract(key); });
        return erased;
    }

private:
    static constexpr std::size_t cacheLine = 64;

    struct alignas(cacheLine) ReaderCount {
        mutable std::atomic<std::size_t> value{0};
    };

    /// Counts a reader in for as long as it lives.
    class Reading {
    public:
        explicit Reading(const LeftRightMap& map) noexcept : count_(map.readers_[map.turn_.load()].value) {
            count_.fetch_add(1);
        }
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading() { count_.fetch_sub(1); }

    private:
        std::atomic<std::size_t>& count_;
    };

    static Value valueIn(const Map& map, const Key& key) noexcept {
        const auto found = map.find(key);
        return found == map.end() ? Value() : found->second;
    }

    template <class Change>
    void changeBoth(const Change& change) noexcept {
        const std::size_t old = published_.load();
        change(1 - old);
        published_.store(1 - old);
        waitForReadersOfOldCopy();
        change(old);
    }

    /// A reader that counted itself in before the publication may be on either counter, for it may have read
    /// the turn long before it counted. So both must have been seen empty after the publication; each is
    /// waited for while new readers use the other.
    void waitForReadersOfOldCopy() noexcept {
        const std::size_t old = turn_.load();
        waitUntilZero(readers_[1 - old]);
        turn_.store(1 - old);
        waitUntilZero(readers_[old]);
    }

    static void waitUntilZero(const ReaderCount& readers) noexcept {
        while (readers.value.load() != 0) {
            std::this_thread::yield();
        }
    }

    std::array<Map, 2> copies_;
    std::atomic<std::size_t> published_{0};
    std::atomic<std::size_t> turn_{0};
    std::array<ReaderCount, 2> readers_;
};

} // namespace storage::inmemoryprovider
