#pragma once

namespace storage::inmemoryprovider {

/// For listings of the children that are files.
struct is_file_predicate {
    static constexpr bool accepts(bool isFolder) noexcept { return !isFolder; }
};

} // namespace storage::inmemoryprovider
