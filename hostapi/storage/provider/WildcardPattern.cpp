#include "hostapi/storage/provider/WildcardPattern.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace foundation::storage::provider {

namespace {

using Element = WildcardPattern::Element;

std::vector<Element> parse(std::u16string_view text) {
    std::vector<Element> elements;
    elements.reserve(text.size());
    for (const char16_t unit : text) {
        const auto kind = unit == u'*'   ? Element::Kind::AnyRun
                          : unit == u'?' ? Element::Kind::AnyCharacter
                                         : Element::Kind::Literal;
        elements.push_back({kind, unit});
    }
    return elements;
}

/// The number of code units of the character that begins at `position`: 2 for a surrogate pair, else 1.
std::size_t characterLength(std::u16string_view name, std::size_t position) noexcept {
    const bool isPair = position + 1 < name.size() && name[position] >= 0xD800 && name[position] <= 0xDBFF &&
                        name[position + 1] >= 0xDC00 && name[position + 1] <= 0xDFFF;
    return isPair ? 2 : 1;
}

/// The number of code units that `element` matches at `position`; 0 if it does not match. `element` is not a
/// run.
std::size_t matchedLength(const Element& element, std::u16string_view name, std::size_t position) noexcept {
    if (element.kind == Element::Kind::AnyCharacter) {
        return characterLength(name, position);
    }
    return element.unit == name[position] ? 1 : 0;
}

bool isRun(const Element& element) noexcept {
    return element.kind == Element::Kind::AnyRun;
}

} // namespace

WildcardPattern::WildcardPattern(std::u16string_view text) : elements_(parse(text)) {}

WildcardPattern::WildcardPattern(std::vector<Element> elements) : elements_(std::move(elements)) {}

bool WildcardPattern::matches(std::u16string_view name) const noexcept {
    // Backtracks to the last run only: extending it covers everything that extending an earlier one could.
    struct Run {
        std::size_t nextElement;
        std::size_t end;
    };
    std::optional<Run> lastRun;
    std::size_t element = 0;
    std::size_t position = 0;
    while (position < name.size()) {
        if (element < elements_.size() && isRun(elements_[element])) {
            ++element;
            lastRun = Run{element, position};
            continue;
        }
        const std::size_t length =
            element < elements_.size() ? matchedLength(elements_[element], name, position) : 0;
        if (length > 0) {
            ++element;
            position += length;
        } else if (lastRun) {
            lastRun->end += characterLength(name, lastRun->end);
            element = lastRun->nextElement;
            position = lastRun->end;
        } else {
            return false;
        }
    }
    return std::all_of(elements_.begin() + static_cast<std::ptrdiff_t>(element), elements_.end(), isRun);
}

} // namespace foundation::storage::provider
