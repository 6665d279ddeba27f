#pragma once

namespace storage::inmemoryprovider {

/// For listings of all children.
struct is_file_or_folder_predicate {
    static constexpr bool accepts(bool /*isFolder*/) noexcept { return true; }
};

} // namespace storage::inmemoryprovider
