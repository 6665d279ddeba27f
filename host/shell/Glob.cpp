#include "host/shell/Glob.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WildcardPattern.h"

#include <algorithm>
#include <optional>

namespace storage::host {

using provider::WildcardPattern;

/// The part of a word between two runs of slashes, and the slashes after it.
class Glob::Component {
public:
    /// Reads the component at `position` and moves `position` past it.
    Component(const Word& word, std::size_t& position) {
        const std::size_t end = std::min(word.text.find('/', position), word.text.size());
        for (; position < end; ++position) {
            hasWildcard_ = hasWildcard_ || word.isWildcard(position);
            text_ += word.text[position];
            quoted_.push_back(word.quoted[position]);
        }
        for (; position < word.text.size() && word.text[position] == '/'; ++position) {
            slashes_ += '/';
        }
    }

    const std::string& text() const { return text_; }
    const std::string& slashes() const { return slashes_; }
    bool hasWildcard() const { return hasWildcard_; }
    PathLookup::Wanted wanted() const {
        return slashes_.empty() ? PathLookup::Wanted::All : PathLookup::Wanted::Folders;
    }

    WildcardPattern pattern() const {
        using Kind = WildcardPattern::Element::Kind;
        std::vector<WildcardPattern::Element> elements;
        std::size_t byte = 0;
        const std::u16string units = toUtf16(text_);
        for (std::size_t i = 0; i < units.size(); ++i) {
            const char16_t unit = units[i];
            const bool special = (unit == u'*' || unit == u'?') && !quoted_[byte];
            const Kind wildcard = unit == u'*' ? Kind::AnyRun : Kind::AnyCharacter;
            elements.push_back({special ? wildcard : Kind::Literal, unit});
            if (unit >= 0xD800 && unit <= 0xDBFF) { // both halves of a pair come from one UTF-8 sequence
                elements.push_back({Kind::Literal, units[++i]});
            }
            byte += bytesOf(unit);
        }
        return WildcardPattern(std::move(elements));
    }

private:
    /// Returns the length in bytes of the character that begins with a unit. A unit for a byte that is not
    /// UTF-8 has length 1.
    static std::size_t bytesOf(char16_t unit) {
        if (unit < 0x80 || (unit >= 0xDC00 && unit <= 0xDFFF)) {
            return 1;
        }
        if (unit < 0x800) {
            return 2;
        }
        return unit >= 0xD800 && unit <= 0xDBFF ? 4 : 3;
    }

    std::string text_;
    std::vector<bool> quoted_;
    std::string slashes_;
    bool hasWildcard_ = false;
};

std::vector<std::string> Glob::expand(const Word& word) const {
    bool hasWildcard = false;
    for (std::size_t i = 0; i < word.text.size() && !hasWildcard; ++i) {
        hasWildcard = word.isWildcard(i);
    }
    if (!hasWildcard) {
        return {word.text};
    }

    const std::size_t prefix = prefixLength(word);
    std::size_t position = prefix;
    std::vector<std::string> paths{word.text.substr(0, prefix)};
    while (position < word.text.size() && !paths.empty()) {
        paths = step(paths, Component(word, position));
    }
    for (std::string& path : paths) {
        path.insert(0, path.starts_with('-') ? "./" : "");
    }
    std::sort(paths.begin(), paths.end());
    return paths.empty() ? std::vector<std::string>{word.text} : paths;
}

std::vector<std::string> Glob::step(const std::vector<std::string>& from, const Component& component) const {
    std::vector<std::string> to;
    for (const std::string& path : from) {
        if (component.text().empty()) { // a leading slash
            to.push_back(path + component.slashes());
        } else if (component.hasWildcard()) {
            addMatches(path, component, to);
        } else {
            addLiteral(path, component, to);
        }
    }
    return to;
}

void Glob::addMatches(const std::string& from, const Component& component,
                      std::vector<std::string>& to) const {
    const WildcardPattern pattern = component.pattern();
    for (const std::string& name : lookup_.names(from, component.wanted())) {
        if (pattern.matches(toUtf16(name))) {
            const bool isMistakable = from.empty() && lookup_.prefixLength(name) > 0;
            to.push_back((isMistakable ? "./" : from) + name + component.slashes());
        }
    }
}

/// A prefix with a wildcard does not select a storage: the word is a pattern for names with a colon.
std::size_t Glob::prefixLength(const Word& word) const {
    const std::size_t length = lookup_.prefixLength(word.text);
    for (std::size_t i = 0; i < length; ++i) {
        if (word.isWildcard(i)) {
            return 0;
        }
    }
    return length;
}

void Glob::addLiteral(const std::string& from, const Component& component,
                      std::vector<std::string>& to) const {
    if (lookup_.exists(from + component.text(), component.wanted())) {
        to.push_back(from + component.text() + component.slashes());
    }
}

} // namespace storage::host
