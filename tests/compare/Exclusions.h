#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>

namespace syscalls {

/// Something that is not compared, and why. A value.
struct Exclusion {
    std::string_view name; ///< a kind of call, a field of a result, or a feature of the generator
    std::string_view reason;
};

/// What is never compared, as file systems differ in it without harm or the reference is the one that lacks it.
std::span<const Exclusion> standingExclusions();

/// Names of what is not compared. A value.
class Exclusions {
public:
    Exclusions(); ///< the standing ones

    void add(std::string name) { names_.insert(std::move(name)); }
    bool has(std::string_view name) const { return names_.contains(name); }
    const std::set<std::string, std::less<>>& names() const { return names_; }

private:
    std::set<std::string, std::less<>> names_;
};

} // namespace syscalls
