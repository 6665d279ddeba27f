#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>

namespace syscalls {

/// An item that is not compared, with the reason. A value.
struct Exclusion {
    std::string_view name; ///< a kind of call, a field of a result, or a feature of the generator
    std::string_view reason;
};

/// Permanent exclusions: file systems may differ in them, or the reference does not support them.
std::span<const Exclusion> standingExclusions();

/// Names of excluded items. A value.
class Exclusions {
public:
    Exclusions(); ///< the permanent ones

    void add(std::string name) { names_.insert(std::move(name)); }
    bool has(std::string_view name) const { return names_.contains(name); }
    const std::set<std::string, std::less<>>& names() const { return names_; }

private:
    std::set<std::string, std::less<>> names_;
};

} // namespace syscalls
