#pragma once

#include "tests/compare/Exclusions.h"
#include "tests/compare/TreeSketch.h"

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace syscalls {

/// Chooses random arguments, usually so that a call succeeds. Choices are reproducible: they depend only on
/// the seed, the sketch and the exclusions.
///
/// Borrows the sketch and the exclusions. Not thread-safe.
class Choice {
public:
    Choice(std::uint64_t seed, const TreeSketch& sketch, const Exclusions& exclusions)
        : random_(seed), sketch_(sketch), exclusions_(exclusions) {}

    /// Sets the user that makes the following calls.
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

    /// A combination of flags. Each is set with a probability of one in `rarity`.
    std::int64_t flags(std::initializer_list<int> flags, int rarity);

    std::string path();                             ///< any path, mostly of an existing entry
    std::string fresh();                            ///< in an existing folder, mostly of a missing entry
    std::string file();                             ///< mostly of a file
    std::string folder();                           ///< mostly of a folder
    std::string link();                             ///< mostly of a symbolic link
    std::string name();                             ///< a single name
    std::string linkTarget();                       ///< target of a symbolic link
    std::string extendedName();                     ///< name of an extended attribute
    std::int64_t slot();                            ///< any slot
    std::int64_t fileSlot();                        ///< mostly with an open file
    std::int64_t folderSlot();                      ///< mostly with an open folder; also the current folder
    std::int64_t offset();                          ///< mostly small, often near a page boundary
    std::int64_t length();                          ///< mostly small, sometimes whole pages
    std::int64_t permissions();                     ///< all twelve bits
    std::pair<std::int64_t, std::int64_t> owners(); ///< a user and a group; each may be -1
    std::pair<std::int64_t, std::int64_t> time();   ///< seconds and nanoseconds, including the special values

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
