#pragma once

#include <string>
#include <string_view>

namespace storage::host {

/// The beginning and the end of output of any length.
///
/// Uses a few kilobytes at most. Not thread-safe.
class OutputExcerpt {
public:
    void append(std::string_view bytes);

    /// The lines, with everything escaped that a terminal would interpret, without a final newline. One line
    /// states how much was left out in the middle.
    std::string text() const;

private:
    std::string head_;
    std::string tail_;
    unsigned long long leftOut_ = 0;
};

} // namespace storage::host
