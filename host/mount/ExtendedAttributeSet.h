#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace storage::host {

/// The extended attributes of one entry, xattr(7): names and values, each up to 64 KiB in all. Names begin with "user.",
/// "trusted." or "security.". A value.
class ExtendedAttributeSet {
public:
    enum class Names { All, OfOrdinaryUsers };

    /// Room that an attribute takes beside its name and value, roughly. Bytes.
    static constexpr std::size_t overhead = 160;

    /// @throws ErrnoError EOPNOTSUPP for a name that begins with something else, EINVAL if nothing follows
    static void requireName(std::string_view name);

    /// @param flags  of setxattr(2)
    /// @throws ErrnoError EEXIST and ENODATA by the flags, ENOSPC if that would be too many bytes; with nothing changed
    void set(std::string_view name, std::string_view value, int flags);

    /// @throws ErrnoError ENODATA
    const std::string& get(std::string_view name) const;

    /// @throws ErrnoError ENODATA
    void remove(std::string_view name);

    std::size_t count() const noexcept { return values_.size(); }

    /// The names, each with a zero byte behind it.
    std::string list(Names wanted) const;

private:
    using Values = std::map<std::string, std::string, std::greater<>>; // the order in which tmpfs lists

    Values::const_iterator require(std::string_view name) const;

    Values values_;
    std::size_t namesSize_ = 0; ///< bytes, with the zero bytes of a list
    std::size_t valuesSize_ = 0;
};

} // namespace storage::host
