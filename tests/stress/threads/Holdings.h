#pragma once

#include "tests/stress/threads/HandOver.h"
#include "tests/stress/threads/OpenFile.h"
#include "tests/stress/threads/OpenListing.h"
#include "tests/stress/threads/Random.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace storage::stress {

/// The streams and listings that one thread of the test has open. It sometimes exchanges one with other
/// threads, so that streams and listings are used and destroyed by threads that did not open them.
///
/// Owns streams and listings; shares the exchange. Not thread-safe.
class Holdings {
public:
    struct Exchange {
        HandOver<OpenFile> files;
        HandOver<OpenListing> listings;
    };

    explicit Holdings(Exchange& exchange) : exchange_(exchange) {}

    void add(OpenFile file, Random& random) { keep(files_, std::move(file), random); }
    void add(OpenListing listing, Random& random) { keep(listings_, std::move(listing), random); }

    /// Uses a random stream, or exchanges it.
    /// @throws Violation
    void useFile(Random& random);

    /// Uses a random listing, or exchanges it.
    /// @throws Violation
    void useListing(Random& random);

    std::size_t fileUses() const { return fileUses_; }
    std::size_t listingUses() const { return listingUses_; }

private:
    static constexpr std::size_t most = 8;

    template <class Thing>
    static void keep(std::vector<Thing>& things, Thing added, Random& random) {
        if (things.size() < most) {
            things.push_back(std::move(added));
        } else {
            things[pick(random, most)] = std::move(added);
        }
    }

    template <class Thing>
    static void swapOne(std::vector<Thing>& things, HandOver<Thing>& places, Random& random) {
        std::swap(things[pick(random, things.size())], things.back());
        auto received = places.exchange(std::move(things.back()), random);
        things.pop_back();
        if (received) {
            things.push_back(std::move(*received));
        }
    }

    Exchange& exchange_;
    std::vector<OpenFile> files_;
    std::vector<OpenListing> listings_;
    std::size_t fileUses_ = 0;
    std::size_t listingUses_ = 0;
};

} // namespace storage::stress
