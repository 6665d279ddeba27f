#pragma once

#include "inmemoryprovider/filesystem/MapNode.h"
#include "inmemoryprovider/filesystem/SpinWait.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace storage::inmemoryprovider {

/// A map that any number of threads read without blocking while one writer changes it (left-right).
///
/// Owns two copies of the map. Readers use the published copy. The writer changes the other copy, publishes it,
/// waits until the last reader has left the copy published before, and repeats the change there.
///
/// Synchronization: readers count themselves in and out; the writer never touches a copy that a counted reader
/// may use. Writers are externally synchronized. The writer waits for look-ups under way, never for new ones: two
/// counters are used in turn, so that a stream of new readers cannot hold the writer up. It spins briefly, then announces
/// itself in the counter and sleeps; only then does the last reader make a system call.
///
/// All atomics are sequentially consistent. A reader counts itself in and then reads `published_`; the writer stores
/// `published_` and then reads the counters. Each side's store must be ordered before its own load.
///
/// Between calls both copies are equal. `Value` is default-constructible, its default meaning "absent";
/// copying it does not throw. `Map` is what a copy is kept in; its nodes are those of the ordered map.
template <class Key, class Value, class Map = std::map<Key, Value>>
class LeftRightMap {
    using OrderedMap = std::map<Key, Value>;

public:
    /// An element outside the map: everything that its insertion cannot do without, so that it never fails.
    class Element {
    public:
        /// What the element holds; an empty value if it is none.
        Value value() const { return nodes_[0] ? nodes_[0].mapped() : Value(); }

    private:
        friend LeftRightMap;
        std::array<typename OrderedMap::node_type, 2> nodes_;
    };

    LeftRightMap() = default;
    LeftRightMap(const LeftRightMap&) = delete;
    LeftRightMap& operator=(const LeftRightMap&) = delete;
    ~LeftRightMap() = default;

    /// The value under `key`, or an empty one. For any thread; never waits.
    template <class LookUpKey>
    Value find(const LookUpKey& key) const noexcept {
        return visit(key, [](const Value* found) { return found == nullptr ? Value() : *found; });
    }

    /// Returns `use` of the value under `key`, or of a null pointer. For any thread. The writer, and with it every change,
    /// waits for `use`, which must not block.
    template <class LookUpKey, class Use>
    auto visit(const LookUpKey& key, const Use& use) const noexcept {
        const Reading reading(*this);
        return use(valueIn(copies_[published_.load()], key));
    }

    /// As `find`, for the one thread that may write, which need not be counted, nor given a copy: the value
    /// lasts until it changes the map. None is a null pointer.
    template <class LookUpKey>
    const Value* findAsWriter(const LookUpKey& key) const noexcept {
        return valueIn(copies_[published_.load()], key);
    }

    /// Calls `use` with each key and value from the first key on that is not before `first`, until it returns false. For the
    /// writer.
    template <class LookUpKey, class Use>
    void visitFromAsWriter(const LookUpKey& first, const Use& use) const noexcept {
        const Map& map = copies_[published_.load()];
        for (auto element = map.lower_bound(first);
             element != map.end() && use(element->first, element->second);) {
            ++element;
        }
    }

    /// Does the allocating part of an insertion. May throw and changes nothing.
    static Element prepare(const Key& key, const Value& value) {
        Element element;
        for (auto& node : element.nodes_) {
            node = makeMapNode<OrderedMap>(key, value);
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
    template <class LookUpKey>
    Element erase(const LookUpKey& key) noexcept {
        Element erased;
        changeBoth([&](std::size_t copy) {
            Map& map = copies_[copy];
            if (const auto found = map.find(key); found != map.end()) {
                erased.nodes_[copy] = map.extract(found);
            }
        });
        return erased;
    }

private:
    static constexpr std::size_t cacheLine = 64;

    /// Set in a counter while the writer sleeps until the other bits are 0.
    static constexpr std::uint32_t writerSleeps = std::uint32_t{1} << 31U;

    struct alignas(cacheLine) ReaderCount {
        /// Incremented before a reader loads `published_`, so that the writer, which loads it after storing `published_`,
        /// sees the reader or the reader sees the new copy. Decremented after the reader's last access.
        mutable std::atomic<std::uint32_t> value{0};
    };

    /// Counts a reader in for as long as it lives.
    class Reading {
    public:
        explicit Reading(const LeftRightMap& map) noexcept : count_(map.readers_[map.turn_.load()].value) {
            count_.fetch_add(1);
        }
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading() {
            if (count_.fetch_sub(1) == (writerSleeps | 1)) {
                wakeWaiters(count_);
            }
        }

    private:
        std::atomic<std::uint32_t>& count_;
    };

    template <class LookUpKey>
    static const Value* valueIn(const Map& map, const LookUpKey& key) noexcept {
        const auto found = map.find(key);
        return found == map.end() ? nullptr : &found->second;
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
        for (int spin = 0; spin < spinLimit; ++spin) {
            if (readers.value.load() == 0) {
                return;
            }
            spinHint();
        }
        std::uint32_t seen = readers.value.fetch_or(writerSleeps) | writerSleeps;
        while (seen != writerSleeps) {
            waitWhileEqual(readers.value, seen);
            seen = readers.value.load();
        }
        readers.value.fetch_and(~writerSleeps);
    }

    std::array<Map, 2> copies_;
    /// The copy that new readers use; stored by the writer after its change and before it loads the counters.
    std::atomic<std::size_t> published_{0};
    /// The counter that new readers use. A reader may act on an old value; the writer waits for both counters.
    std::atomic<std::size_t> turn_{0};
    std::array<ReaderCount, 2> readers_;
};

} // namespace storage::inmemoryprovider
