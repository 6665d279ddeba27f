#include "host/process/OutputExcerpt.h"

#include "host/support/Utf.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::size_t keptOfOutputEnds = 2000;

} // namespace

void OutputExcerpt::append(std::string_view bytes) {
    const std::size_t toHead = std::min(keptOfOutputEnds - head_.size(), bytes.size());
    head_ += bytes.substr(0, toHead);
    tail_ += bytes.substr(toHead);
    if (tail_.size() > keptOfOutputEnds) {
        const std::size_t excess = tail_.size() - keptOfOutputEnds;
        tail_.erase(0, excess);
        leftOut_ += excess;
    }
}

std::string OutputExcerpt::text() const {
    const std::string gap = leftOut_ == 0 ? "" : fmt::format("\n...({} bytes left out)...\n", leftOut_);
    const std::string all = head_ + gap + tail_;
    std::string lines;
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = std::min(all.find('\n', begin), all.size());
        lines += begin == 0 ? "" : "\n";
        lines += printable(std::string_view(all).substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

} // namespace storage::host
