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

    /// The lines with control characters escaped, without a final newline. If output was left out, a line in
    /// the middle states how many bytes.
    std::string text() const;

private:
    std::string head_;
    std::string tail_;
    unsigned long long leftOut_ = 0;
};

} // namespace storage::host
