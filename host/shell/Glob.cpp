#include "host/shell/Glob.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/WildcardPattern.h"

#include <algorithm>
#include <optional>

namespace storage::host {

using foundation::storage::provider::WildcardPattern;

/// The part of a word between two runs of slashes, and the slashes behind it.
class Glob::Component {
public:
    /// Takes the component that starts at `position` and moves `position` behind it.
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
    bool mustBeFolder() const { return !slashes_.empty(); }

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
    /// How many bytes the character takes that begins with a unit; one that stands for a byte takes one.
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
    std::size_t position = 0;
    bool hasWildcard = false;
    for (std::size_t i = 0; i < word.text.size() && !hasWildcard; ++i) {
        hasWildcard = word.isWildcard(i);
    }
    if (!hasWildcard) {
        return {word.text};
    }

    std::vector<Candidate> candidates{{"", folder_}};
    while (position < word.text.size() && !candidates.empty()) {
        candidates = step(candidates, Component(word, position));
    }

    std::vector<std::string> result;
    result.reserve(candidates.size());
    for (Candidate& candidate : candidates) {
        result.push_back((candidate.spelling.starts_with('-') ? "./" : "") + candidate.spelling);
    }
    std::sort(result.begin(), result.end());
    return result.empty() ? std::vector<std::string>{word.text} : result;
}

std::vector<Glob::Candidate> Glob::step(const std::vector<Candidate>& from,
                                        const Component& component) const {
    std::vector<Candidate> to;
    for (const Candidate& candidate : from) {
        if (component.text().empty()) { // only a leading slash leaves nothing in front of it
            to.push_back({component.slashes(), StoragePath()});
        } else if (component.hasWildcard()) {
            addMatches(candidate, component, to);
        } else {
            addLiteral(candidate, component, to);
        }
    }
    return to;
}

void Glob::addMatches(const Candidate& from, const Component& component, std::vector<Candidate>& to) const {
    const WildcardPattern pattern = component.pattern();
    if (!provider_.doFolderExists(from.path.iri())) {
        return;
    }
    const auto names = component.mustBeFolder() ? provider_.doListFoldersNamesOnly(from.path.iri())
                                                : provider_.doListAllNamesOnly(from.path.iri());
    for (const std::u16string& name : names) {
        const auto spelling = toUtf8(name);
        if (spelling && pattern.matches(name)) {
            to.push_back({from.spelling + *spelling + component.slashes(), from.path.child(name)});
        }
    }
}

void Glob::addLiteral(const Candidate& from, const Component& component, std::vector<Candidate>& to) const {
    StoragePath path = StoragePath::resolve(from.path, toUtf16(component.text()));
    const bool matches =
        component.mustBeFolder() ? provider_.doFolderExists(path.iri()) : provider_.doExists(path.iri());
    if (matches) {
        to.push_back({from.spelling + component.text() + component.slashes(), std::move(path)});
    }
}

} // namespace storage::host
