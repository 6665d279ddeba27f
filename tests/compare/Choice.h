#pragma once

#include "tests/compare/Exclusions.h"
#include "tests/compare/TreeSketch.h"

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace syscalls {

/// Chooses arguments at random, mostly such that a call succeeds. The same seed and the same sketch give the same choice.
///
/// Borrows the sketch and the exclusions. Not thread-safe.
class Choice {
public:
    Choice(std::uint64_t seed, const TreeSketch& sketch, const Exclusions& exclusions)
        : random_(seed), sketch_(sketch), exclusions_(exclusions) {}

    /// The user that makes the calls from now on.
    void setUser(unsigned user) { user_ = user; }

    std::int64_t below(std::int64_t limit) {
        return static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(limit));
    }
    bool oneIn(std::int64_t count) { return below(count) == 0; }

    template <typename Value>
    Value of(std::initializer_list<Value> values) {
        return values.begin()[below(static_cast<std::int64_t>(values.size()))];
    }
    std::int64_t of(std::initializer_list<int> values) { return of<int>(values); }

    /// Several of the flags, each with one chance in `rarity`.
    std::int64_t flags(std::initializer_list<int> flags, int rarity);

    std::string path();         ///< of anything, mostly of what exists
    std::string fresh();        ///< in a folder that exists, mostly of something that does not
    std::string file();         ///< mostly of a file
    std::string folder();       ///< mostly of a folder
    std::string link();         ///< mostly of a symbolic link
    std::string name();         ///< one name
    std::string linkTarget();   ///< what a symbolic link may hold
    std::string extendedName(); ///< of an extended attribute
    std::int64_t slot();        ///< of anything
    std::int64_t fileSlot();    ///< mostly with an open file
    std::int64_t folderSlot();  ///< mostly with an open folder; rarely the current folder
    std::int64_t offset();      ///< mostly in or near small files, around borders of pages
    std::int64_t length();      ///< as an offset, seldom large
    std::int64_t permissions(); ///< all twelve bits
    std::pair<std::int64_t, std::int64_t> owners(); ///< a user and a group, or -1
    std::pair<std::int64_t, std::int64_t> time();   ///< seconds and nanoseconds, with the special ones

private:
    std::string anyOf(const std::vector<std::string>& paths);
    std::string mostly(TreeSketch::Kind kind);
    std::string odd();
    std::int64_t slotWith(TreeSketch::Slot content);
    std::int64_t owner();

    std::mt19937_64 random_;
    const TreeSketch& sketch_;
    const Exclusions& exclusions_;
    unsigned user_ = 0;
};

} // namespace syscalls
