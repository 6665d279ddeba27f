#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace storage::host {

/// The extended attributes of one entry, xattr(7). All names together are limited to 64 KiB, the limit of
/// listxattr(2). The kernel limits each value to 64 KiB. Names begin with "user.", "trusted." or "security.".
/// A value.
class ExtendedAttributeSet {
public:
    enum class Names { All, OfOrdinaryUsers };

    /// Approximate memory overhead of an attribute besides its name and value, in bytes.
    static constexpr std::size_t overhead = 160;

    /// @throws ErrnoError EOPNOTSUPP for a name with another prefix, EINVAL for a prefix alone
    static void requireName(std::string_view name);

    /// @param flags  of setxattr(2)
    /// @throws ErrnoError EEXIST and ENODATA by the flags, ENOSPC if the names would exceed the limit;
    ///     nothing is changed then
    void set(std::string_view name, std::string_view value, int flags);

    /// @throws ErrnoError ENODATA
    const std::string& get(std::string_view name) const;

    /// @throws ErrnoError ENODATA
    void remove(std::string_view name);

    std::size_t count() const noexcept { return values_.size(); }

    /// The names, each terminated by a zero byte.
    std::string list(Names wanted) const;

private:
    using Values = std::map<std::string, std::string, std::greater<>>; // the order in which tmpfs lists

    Values::const_iterator require(std::string_view name) const;

    Values values_;
    std::size_t namesSize_ = 0; ///< bytes, including the zero terminators
};

} // namespace storage::host
