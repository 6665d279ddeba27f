#include "host/support/PathPattern.h"

#include "host/support/UsageError.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <utility>

namespace storage::host {

PathPattern::PathPattern(std::string_view text) {
    std::u32string characters = charactersOf(toUtf16(text));
    if (characters.ends_with(U'/')) {
        isForFolders_ = true;
        characters.pop_back();
    }
    isForPaths_ = characters.find(U'/') != std::u32string::npos;
    if (characters.starts_with(U'/')) {
        characters.erase(0, 1);
    }
    if (characters.empty()) {
        throw UsageError("invalid pattern '" + std::string(text) + "': it matches no entry");
    }
    parse(characters);
}

bool PathPattern::matches(std::u16string_view path, bool isFolder) const {
    if (isForFolders_ && !isFolder) {
        return false;
    }
    return matchesCharacters(charactersOf(isForPaths_ ? path : path.substr(path.rfind(u'/') + 1)));
}

bool PathPattern::matchesName(std::u16string_view name, bool isFolder) const {
    return !isForPaths_ && matches(name, isFolder);
}

/// An unpaired surrogate encodes a byte and counts as one character.
std::u32string PathPattern::charactersOf(std::u16string_view text) {
    constexpr char32_t firstOfPair = 0xD800;
    constexpr char32_t secondOfPair = 0xDC00;
    constexpr char32_t endOfPair = 0xE000;
    constexpr char32_t firstBeyond = 0x10000;
    std::u32string characters;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        const char32_t next = i + 1 < text.size() ? text[i + 1] : 0;
        if (unit >= firstOfPair && unit < secondOfPair && next >= secondOfPair && next < endOfPair) {
            characters.push_back(firstBeyond + ((unit - firstOfPair) << 10U) + (next - secondOfPair));
            ++i;
        } else {
            characters.push_back(unit);
        }
    }
    return characters;
}

void PathPattern::parse(const std::u32string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        Element element;
        element.character = text[i];
        if (text[i] == U'?') {
            element.kind = Element::Kind::AnyCharacter;
        } else if (text[i] == U'*' && text.substr(i, 2) != U"**") {
            element.kind = Element::Kind::AnyRun;
        } else if (text[i] == U'*') {
            const bool beginsName = i == 0 || text[i - 1] == U'/';
            ++i;
            element.kind = Element::Kind::AnyPath;
            if (beginsName && i + 1 < text.size() && text[i + 1] == U'/') {
                element.kind = Element::Kind::AnyFolders;
                ++i;
            }
        } else if (text[i] == U'[' && parseSet(text, i)) {
            continue;
        } else if (text[i] == U'\\' && i + 1 < text.size()) {
            element.character = text[++i];
        }
        elements_.push_back(std::move(element));
    }
}

/// @param position  of the opening bracket; set to that of the closing one
/// @return false without a closing bracket: the opening one is then an ordinary character
bool PathPattern::parseSet(const std::u32string& text, std::size_t& position) {
    Element set;
    set.kind = Element::Kind::Set;
    std::size_t i = position + 1;
    if (i < text.size() && (text[i] == U'!' || text[i] == U'^')) {
        set.isNegated = true;
        ++i;
    }
    const std::size_t begin = i; // a closing bracket is an ordinary character here
    const auto character = [&] {
        i += text[i] == U'\\' && i + 1 < text.size() ? 1 : 0;
        return text[i++];
    };
    while (i < text.size() && (text[i] != U']' || i == begin)) {
        const char32_t first = character();
        char32_t last = first;
        if (i + 1 < text.size() && text[i] == U'-' && text[i + 1] != U']') {
            ++i;
            last = character();
        }
        set.ranges.push_back({first, last});
    }
    if (i >= text.size()) {
        return false;
    }
    elements_.push_back(std::move(set));
    position = i;
    return true;
}

bool PathPattern::Element::matches(char32_t next) const {
    switch (kind) {
    case Kind::Literal:
        return next == character;
    case Kind::AnyCharacter:
    case Kind::AnyRun:
        return next != U'/';
    case Kind::Set:
        return next != U'/' &&
               isNegated != std::any_of(ranges.begin(), ranges.end(), [&](const Range& range) {
                   return range.first <= next && next <= range.last;
               });
    case Kind::AnyPath:
    case Kind::AnyFolders:
        break;
    }
    return true;
}

/// Simulates a nondeterministic automaton, so the time is O(length of the pattern * length of the text).
bool PathPattern::matchesCharacters(const std::u32string& text) const {
    States states(elements_.size() + 1);
    activate(0, states);
    for (const char32_t character : text) {
        States next(states.size());
        for (std::size_t i = 0; i < elements_.size(); ++i) {
            if (!states[i] || !elements_[i].matches(character)) {
                continue;
            }
            switch (elements_[i].kind) {
            case Element::Kind::AnyRun:
            case Element::Kind::AnyPath:
                activate(i, next);
                break;
            case Element::Kind::AnyFolders:
                next[i] = true;
                if (character == U'/') {
                    activate(i + 1, next);
                }
                break;
            default:
                activate(i + 1, next);
            }
        }
        states = std::move(next);
    }
    return states.back();
}

/// Marks an element as reachable, and the one after it if this element also matches nothing.
void PathPattern::activate(std::size_t element, States& states) const {
    states[element] = true;
    while (element < elements_.size() && elements_[element].kind >= Element::Kind::AnyRun) {
        states[++element] = true;
    }
}

} // namespace storage::host
