#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace storage::host {

/// One word of a command line with its quotes removed. A value.
///
/// `quoted` has one flag for each byte of `text`: whether quotes or a backslash took its special meaning
/// away.
struct Word {
    std::string text;
    std::vector<bool> quoted;

    bool isWildcard(std::size_t i) const { return (text[i] == '*' || text[i] == '?') && !quoted[i]; }
};

} // namespace storage::host
