#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace storage::inmemoryprovider {

namespace {

constexpr char16_t separator = u'/';
constexpr std::u16string_view root = u"/";

std::u16string normalised(std::u16string text) noexcept {
    const std::u16string_view kept = InMemoryEntryPath::normalView(text);
    if (kept.size() == text.size()) {
        return text;
    }
    const auto removedInFront = static_cast<std::size_t>(kept.data() - text.data());
    text.resize(removedInFront + kept.size());
    text.erase(0, removedInFront);
    return text;
}

constexpr std::size_t unitsPerWord = sizeof(std::uint64_t) / sizeof(char16_t);

std::uint64_t wordAt(const char16_t* text) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, text, sizeof word);
    return word;
}

/// The bits in which the words at one place in two texts differ.
std::uint64_t differenceAt(const char16_t* left, const char16_t* right) noexcept {
    return wordAt(left) ^ wordAt(right);
}

/// The index of the last separator, or npos. Compares machine words.
std::size_t lastSeparator(std::u16string_view text) noexcept {
    constexpr std::uint64_t ones = 0x0001'0001'0001'0001;
    constexpr std::uint64_t allButHighest = ones * 0x7fff;
    for (std::size_t end = text.size(); end >= unitsPerWord; end -= unitsPerWord) {
        const std::uint64_t word = wordAt(text.data() + end - unitsPerWord) ^ (ones * separator);
        // Sets the highest bit of each code unit that is now 0. The sums do not carry into the next unit.
        const std::uint64_t found = ~(((word & allButHighest) + allButHighest) | word | allButHighest);
        if (found != 0) {
            const int unitsBehind = (std::endian::native == std::endian::little ? std::countl_zero(found)
                                                                                : std::countr_zero(found)) /
                                    16;
            return end - 1 - static_cast<std::size_t>(unitsBehind);
        }
    }
    return text.substr(0, text.size() % unitsPerWord).rfind(separator);
}

/// The number of equal code units before the first that differs in the word.
std::size_t equalUnitsIn(std::uint64_t difference) noexcept {
    const int equalBits = std::endian::native == std::endian::little ? std::countr_zero(difference)
                                                                     : std::countl_zero(difference);
    return static_cast<std::size_t>(equalBits) / (8 * sizeof(char16_t));
}

/// The length of the common prefix, in code units.
///
/// Paths of one tree share long prefixes. The standard library compares code units; this compares machine
/// words. The last word may overlap the one before.
std::size_t commonLength(std::u16string_view left, std::u16string_view right) noexcept {
    const std::size_t length = std::min(left.size(), right.size());
    if (length < unitsPerWord) {
        const auto end = left.begin() + static_cast<std::ptrdiff_t>(length);
        return static_cast<std::size_t>(std::mismatch(left.begin(), end, right.begin()).first - left.begin());
    }
    const std::size_t last = length - unitsPerWord;
    for (std::size_t position = 0; position < last; position += unitsPerWord) {
        if (const auto difference = differenceAt(left.data() + position, right.data() + position)) {
            return position + equalUnitsIn(difference);
        }
    }
    return last +
           equalUnitsIn(differenceAt(left.data() + last, right.data() + last)); // 0 means that all are equal
}

} // namespace

InMemoryEntryPath::InMemoryEntryPath(std::u16string text) noexcept : text_(normalised(std::move(text))) {}

InMemoryEntryPath InMemoryEntryPath::ofNormalText(std::u16string_view text) {
    InMemoryEntryPath path{std::u16string()};
    path.text_ = text;
    return path;
}

InMemoryEntryPath InMemoryEntryPath::parentPath() const {
    return ofNormalText(parentView());
}

std::u16string_view InMemoryEntryPath::normalView(std::u16string_view text) noexcept {
    if (text.size() < 2) {
        return text;
    }
    if (text.back() == separator) {
        text.remove_suffix(1);
    }
    if (text.size() > 1 && text[1] != separator) { // as in nearly all paths
        return text;
    }
    const auto runEnd = text.find_first_not_of(separator, 1);
    text.remove_prefix((runEnd == std::u16string_view::npos ? text.size() : runEnd) - 1);
    return text;
}

std::u16string_view InMemoryEntryPath::parentOf(std::u16string_view path) noexcept {
    const auto last = lastSeparator(path);
    if (last == std::u16string_view::npos || path.size() == 1) { // the root
        return {};
    }
    return last == 0 ? path.substr(0, 1) : normalView(path.substr(0, last));
}

bool InMemoryEntryPath::hasParent() const noexcept {
    return text_ != root && text_.find(separator) != std::u16string::npos;
}

std::u16string_view InMemoryEntryPath::filenameView() const noexcept {
    const auto last = lastSeparator(text_);
    if (last == std::u16string::npos || text_.size() == 1) {
        return text_;
    }
    return view().substr(last + 1);
}

std::u16string InMemoryEntryPath::takeFilename() && noexcept {
    text_.erase(0, text_.size() - filenameView().size());
    return std::move(text_);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers pass temporaries
InMemoryEntryPath& InMemoryEntryPath::append(std::u16string name) {
    return *this = appended(name);
}

InMemoryEntryPath InMemoryEntryPath::appended(std::u16string_view name) const {
    const std::u16string_view component = normalView(name);
    InMemoryEntryPath path{std::u16string()};
    path.text_.reserve(text_.size() + 1 + component.size());
    path.text_ += text_;
    path.text_ += separator;
    path.text_ += component;
    return path;
}

bool InMemoryEntryPath::isWithin(const InMemoryEntryPath& folder) const {
    // The text of each ancestor is a prefix of the entry's text, so most paths need no loop.
    if (!view().starts_with(folder.view())) {
        return false;
    }
    InMemoryEntryPath ancestor = *this;
    while (ancestor.text_.size() > folder.text_.size()) {
        ancestor = ancestor.parentPath();
    }
    return ancestor == folder;
}

bool InMemoryEntryPath::isBefore(std::u16string_view left, std::u16string_view right) noexcept {
    const std::size_t common = commonLength(left, right);
    if (common == right.size()) {
        return false;
    }
    return common == left.size() || left[common] < right[common];
}

} // namespace storage::inmemoryprovider
