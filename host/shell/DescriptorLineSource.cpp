#include "host/shell/DescriptorLineSource.h"

#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

namespace storage::host {

namespace {

constexpr std::size_t readAtOnce = 65536;
constexpr std::size_t longestLine = std::size_t{4} << 20;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

} // namespace

DescriptorLineSource::DescriptorLineSource(int descriptor, std::string name, Places places)
    : descriptor_(descriptor), name_(std::move(name)), places_(places), block_(readAtOnce) {}

std::string DescriptorLineSource::place() const {
    return places_ == Places::Shown ? fmt::format("{}:{}", name_, lineNumber_) : "";
}

std::optional<std::string> DescriptorLineSource::next() {
    auto line = readLine();
    if (line && lineNumber_ == 1 && line->starts_with(byteOrderMark)) {
        line->erase(0, byteOrderMark.size());
    }
    return line;
}

std::optional<std::string> DescriptorLineSource::readLine() {
    std::string line;
    ++lineNumber_;
    while (position_ < end_ || fill()) {
        const auto begin = block_.begin() + static_cast<std::ptrdiff_t>(position_);
        const auto end = block_.begin() + static_cast<std::ptrdiff_t>(end_);
        const auto newline = std::find(begin, end, '\n');
        line.append(begin, newline);
        position_ = static_cast<std::size_t>(newline - block_.begin());
        if (line.size() > longestLine) {
            throw CommandError(name_, fmt::format("line {} has more than {} bytes; this is not a script",
                                                  lineNumber_, longestLine));
        }
        if (newline != end) {
            ++position_;
            if (line.ends_with('\r')) {
                line.pop_back();
            }
            return line;
        }
    }
    return line.empty() ? std::nullopt : std::optional(std::move(line)); // the last line may lack its newline
}

/// Reads a block of available data. Returns false at the end.
bool DescriptorLineSource::fill() {
    for (;;) {
        Interruption::check();
        const ssize_t got = ::read(descriptor_, block_.data(), block_.size());
        if (got >= 0) {
            position_ = 0;
            end_ = static_cast<std::size_t>(got);
            return got > 0;
        }
        if (errno != EINTR) {
            throw diskError(name_, errno);
        }
    }
}

} // namespace storage::host
