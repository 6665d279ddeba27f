#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace storage::inmemoryprovider {

namespace {

constexpr char16_t separator = u'/';
constexpr std::u16string_view root = u"/";

std::u16string normalised(std::u16string text) noexcept {
    if (text.size() < 2) {
        return text;
    }
    if (text.back() == separator) {
        text.pop_back();
    }
    const auto runEnd = text.find_first_not_of(separator, 1);
    const auto runLength = (runEnd == std::u16string::npos ? text.size() : runEnd) - 1;
    text.erase(0, runLength);
    return text;
}

/// The number of code units at the beginning that both texts have in common.
///
/// Paths of one tree share long beginnings, which the standard library would compare unit by unit; this goes
/// a machine word at a time.
std::size_t commonLength(std::u16string_view left, std::u16string_view right) noexcept {
    constexpr std::size_t unitsPerWord = sizeof(std::uint64_t) / sizeof(char16_t);
    const std::size_t length = std::min(left.size(), right.size());
    std::size_t position = 0;
    for (; position + unitsPerWord <= length; position += unitsPerWord) {
        std::uint64_t leftWord = 0;
        std::uint64_t rightWord = 0;
        std::memcpy(&leftWord, left.data() + position, sizeof leftWord);
        std::memcpy(&rightWord, right.data() + position, sizeof rightWord);
        if (leftWord != rightWord) {
            break;
        }
    }
    while (position < length && left[position] == right[position]) {
        ++position;
    }
    return position;
}

} // namespace

InMemoryEntryPath::InMemoryEntryPath(std::u16string text) noexcept : text_(normalised(std::move(text))) {}

InMemoryEntryPath InMemoryEntryPath::parentPath() const {
    const auto last = text_.rfind(separator);
    if (last == std::u16string::npos || text_ == root) {
        return InMemoryEntryPath(std::u16string());
    }
    if (last == 0) {
        return InMemoryEntryPath(std::u16string(root));
    }
    return InMemoryEntryPath(text_.substr(0, last));
}

bool InMemoryEntryPath::hasParent() const noexcept {
    return text_ != root && text_.find(separator) != std::u16string::npos;
}

std::u16string InMemoryEntryPath::filename() const {
    const auto last = text_.rfind(separator);
    if (last == std::u16string::npos || text_ == root) {
        return text_;
    }
    return text_.substr(last + 1);
}

InMemoryEntryPath& InMemoryEntryPath::append(std::u16string name) {
    const std::u16string component = normalised(std::move(name));
    text_.reserve(text_.size() + 1 + component.size());
    text_ += separator;
    text_ += component;
    return *this;
}

bool InMemoryEntryPath::isWithin(const InMemoryEntryPath& folder) const {
    // The text of every folder above an entry is a beginning of the entry's text, so most paths need no
    // climb.
    if (!view().starts_with(folder.view())) {
        return false;
    }
    InMemoryEntryPath ancestor = *this;
    while (ancestor.text_.size() > folder.text_.size()) {
        ancestor = ancestor.parentPath();
    }
    return ancestor == folder;
}

bool InMemoryEntryPath::operator==(const InMemoryEntryPath& other) const noexcept {
    return text_.size() == other.text_.size() &&
           std::memcmp(text_.data(), other.text_.data(), text_.size() * sizeof(char16_t)) == 0;
}

bool InMemoryEntryPath::operator<(const InMemoryEntryPath& other) const noexcept {
    const std::size_t common = commonLength(text_, other.text_);
    if (common == other.text_.size()) {
        return false;
    }
    return common == text_.size() || text_[common] < other.text_[common];
}

} // namespace storage::inmemoryprovider
