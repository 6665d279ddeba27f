#pragma once

#include <string>
#include <string_view>

namespace storage::host {

/// The beginning and the end of something that may be endless.
///
/// Holds no more than a few kilobytes. Thread safety: one object is for one thread.
class OutputExcerpt {
public:
    void append(std::string_view bytes);

    /// Lines without anything that a terminal would obey, the last one without a newline. What was left out in the
    /// middle is counted on a line of its own.
    std::string text() const;

private:
    std::string head_;
    std::string tail_;
    unsigned long long leftOut_ = 0;
};

} // namespace storage::host
