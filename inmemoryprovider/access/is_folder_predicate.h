#pragma once

namespace storage::inmemoryprovider {

/// For listings of the children that are folders.
struct is_folder_predicate {
    static constexpr bool accepts(bool isFolder) noexcept { return isFolder; }
};

} // namespace storage::inmemoryprovider
