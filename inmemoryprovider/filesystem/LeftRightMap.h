#pragma once

#include "inmemoryprovider/filesystem/MapNode.h"
#include "inmemoryprovider/filesystem/PowerOfTwo.h"
#include "inmemoryprovider/filesystem/Processors.h"
#include "inmemoryprovider/filesystem/SpinWait.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace storage::inmemoryprovider {

/// A map that any number of threads read without blocking while one writer changes it (left-right).
///
/// Owns two copies of the map. Readers use the published copy. The writer changes the other copy, publishes
/// it, waits until no reader uses the previously published copy, and repeats the change there.
///
/// Synchronization: a reader increments a counter before its access and decrements it afterwards. The writer
/// never modifies a copy that a counted reader may use. Writers are externally synchronized. The writer waits
/// for readers that are already counted, never for new ones: it alternates between two counters, so a stream
/// of new readers cannot starve it. It spins briefly, then sets a bit in the counter and sleeps. Only if that
/// bit is set does the last reader make a system call.
///
/// The counters are striped by processor: readers on different processors write different cache lines, so
/// they do not slow each other down. The writer waits for each stripe in turn. A reader that is migrated to
/// another processor decrements the counter that it has incremented.
///
/// All atomics are sequentially consistent. A reader increments a counter and then loads `published_`; the
/// writer stores `published_` and then loads the counters. Each side's store must be ordered before its own
/// load.
///
/// Invariant: between changes both copies are equal.
///
/// `Value` is default-constructible, and its default means "absent"; copying it does not throw. `Map` is the
/// type of each copy; its node type is that of the ordered map.
template <class Key, class Value, class Map = std::map<Key, Value>>
class LeftRightMap {
    using OrderedMap = std::map<Key, Value>;

public:
    /// An element outside the map. It owns all memory that its insertion requires, so insertion cannot fail.
    class Element {
    public:
        /// The element's value; an empty value if there is no element.
        Value value() const { return nodes_[0] ? nodes_[0].mapped() : Value(); }

    private:
        friend LeftRightMap;
        std::array<typename OrderedMap::node_type, 2> nodes_;
    };

    /// @param processorEnd  readers are expected on processors with numbers below this; others share their
    ///                      stripes
    explicit LeftRightMap(std::size_t processorEnd = processorNumberEnd()) noexcept
        : lastStripe_(ceilPowerOfTwo(std::min(processorEnd, maxStripes)) - 1) {}
    LeftRightMap(const LeftRightMap&) = delete;
    LeftRightMap& operator=(const LeftRightMap&) = delete;
    ~LeftRightMap() = default;

    /// A copy of the value under `key`, or an empty value. Callable by any thread; never blocks.
    template <class LookUpKey>
    Value find(const LookUpKey& key) const noexcept {
        return visit(key, [](const Value* found) { return found == nullptr ? Value() : *found; });
    }

    /// Calls `use` with a pointer to the value under `key`, or with null, and returns the result. Callable by
    /// any thread. `use` must not block: the writer waits for it, and so does every later change.
    template <class LookUpKey, class Use>
    auto visit(const LookUpKey& key, const Use& use) const noexcept {
        const Reading reading(*this);
        return use(valueIn(copies_[published_.load()], key));
    }

    /// As `find`, but for the writer only: it is not counted, and the value is not copied. The pointer is
    /// valid until the map changes; null if there is no element.
    template <class LookUpKey>
    const Value* findAsWriter(const LookUpKey& key) const noexcept {
        return valueIn(copies_[published_.load()], key);
    }

    /// Calls `use` with each key and value in order, from the first key that is not less than `first`, until
    /// it returns false. For the writer only.
    template <class LookUpKey, class Use>
    void visitFromAsWriter(const LookUpKey& first, const Use& use) const noexcept {
        const Map& map = copies_[published_.load()];
        for (auto element = map.lower_bound(first);
             element != map.end() && use(element->first, element->second);) {
            ++element;
        }
    }

    /// Performs all allocations of an insertion. Does not change the map.
    /// @throws std::bad_alloc
    static Element prepare(const Key& key, const Value& value) {
        Element element;
        for (auto& node : element.nodes_) {
            node = makeMapNode<OrderedMap>(key, value);
        }
        return element;
    }

    /// Inserts an element that was prepared or erased. Keeps an existing value under the key. An empty
    /// element has no effect. For the writer only.
    void insert(Element element) noexcept {
        changeBoth([&](std::size_t copy) { copies_[copy].insert(std::move(element.nodes_[copy])); });
    }

    /// Removes the element under `key`, if it exists. For the writer only.
    /// @return the element, which the caller destroys or inserts again
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

    static constexpr std::size_t maxStripes = 64;

    /// Incremented before the reader loads `published_`. The writer loads it after it has stored
    /// `published_`. So either the writer sees the reader, or the reader sees the new copy. Decremented after
    /// the reader's last access.
    using ReaderCount = std::atomic<std::uint32_t>;

    /// Two counters. New readers use the one selected by `turn_`.
    struct alignas(cacheLine) Stripe {
        mutable std::array<ReaderCount, 2> counts{};
    };

    /// Counts a reader during the object's lifetime.
    class Reading {
    public:
        explicit Reading(const LeftRightMap& map) noexcept
            : count_(map.stripes_[currentProcessor() & map.lastStripe_].counts[map.turn_.load()]) {
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
        ReaderCount& count_;
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

    /// A reader that was counted before the publication may be in either counter of its stripe, because it
    /// may have loaded `turn_` long before it incremented a counter. So each counter must be zero once after
    /// the publication. While the writer waits for one counter of a stripe, new readers use the other.
    void waitForReadersOfOldCopy() noexcept {
        const std::size_t old = turn_.load();
        waitForEachStripe(1 - old);
        turn_.store(1 - old);
        waitForEachStripe(old);
    }

    void waitForEachStripe(std::size_t turn) const noexcept {
        for (std::size_t stripe = 0; stripe <= lastStripe_; ++stripe) {
            waitUntilZero(stripes_[stripe].counts[turn]);
        }
    }

    static void waitUntilZero(ReaderCount& readers) noexcept {
        for (int spin = 0; spin < spinLimit; ++spin) {
            if (readers.load() == 0) {
                return;
            }
            spinHint();
        }
        std::uint32_t seen = readers.fetch_or(writerSleeps) | writerSleeps;
        while (seen != writerSleeps) {
            waitWhileEqual(readers, seen);
            seen = readers.load();
        }
        readers.fetch_and(~writerSleeps);
    }

    std::array<Map, 2> copies_;
    /// The copy that new readers use; stored by the writer after its change and before it loads the counters.
    std::atomic<std::size_t> published_{0};
    /// The counter of each stripe that new readers use. A reader may use an outdated value, so the writer
    /// waits for both counters.
    std::atomic<std::size_t> turn_{0};
    /// The number of the last stripe in use; all bits below its highest bit are set.
    const std::size_t lastStripe_;
    std::array<Stripe, maxStripes> stripes_;
};

} // namespace storage::inmemoryprovider
