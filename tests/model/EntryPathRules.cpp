#include "tests/model/EntryPathRules.h"

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "tests/model/PathRules.h"

#include <functional>
#include <string_view>
#include <utility>

namespace storage::inmemoryprovider::tests {

namespace {

std::string ruleBrokenByWayUp(InMemoryEntryPath path) {
    while (!path.view().empty()) {
        InMemoryEntryPath parent = path.parentPath();
        if (parent.view().size() >= path.view().size()) {
            return "the way up ends at the empty path";
        }
        path = std::move(parent);
    }
    return "";
}

bool isPartOf(std::u16string_view whole, std::u16string_view part) {
    return part.empty() ||
           (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

std::string ruleBrokenByViews(const InMemoryEntryPath& path) {
    if (path.parentView() != path.parentPath().view()) {
        return "view of the parent";
    }
    if (path.filenameView() != path.filename()) {
        return "view of the name";
    }
    if (!isPartOf(path.view(), path.parentView()) || !isPartOf(path.view(), path.filenameView())) {
        return "views are parts of the path";
    }
    return "";
}

/// Texts must compare like paths, because lookups by text rely on it.
std::string ruleBrokenByTexts(const InMemoryEntryPath& left, const InMemoryEntryPath& right) {
    const std::less<InMemoryEntryPath> before;
    const bool expected = left < right;
    if (before(left, right) != expected || before(left, right.view()) != expected ||
        before(left.view(), right) != expected ||
        InMemoryEntryPath::isBefore(left.view(), right.view()) != expected) {
        return "order of texts";
    }
    return (left == right.view()) == (left == right) ? "" : "equality with a text";
}

/// `expected` is the text that the path must have. It may be a text that is not normalized.
std::string ruleBrokenByPath(const InMemoryEntryPath& path, const std::u16string& expected) {
    if (path.string() != expected || path.view() != expected) {
        return "text";
    }
    if (path.parentPath().string() != parentOf(expected)) {
        return "parent";
    }
    if (path.hasParent() != hasParent(expected)) {
        return "has parent";
    }
    if (path.filename() != nameOf(expected)) {
        return "name";
    }
    const std::string broken = ruleBrokenByViews(path);
    return broken.empty() ? ruleBrokenByWayUp(path) : broken;
}

} // namespace

std::string ruleBrokenBy(const std::u16string& text) {
    return ruleBrokenByPath(InMemoryEntryPath(text), normalised(text));
}

std::string ruleBrokenBy(const std::u16string& leftText, const std::u16string& rightText) {
    const InMemoryEntryPath left(leftText);
    const InMemoryEntryPath right(rightText);
    if ((left < right) != sortsBefore(left.string(), right.string())) {
        return "order";
    }
    if ((left == right) != (left.string() == right.string())) {
        return "equality";
    }
    if (left.isWithin(right) != isSelfOrBelow(left.string(), right.string())) {
        return "within";
    }
    if (const std::string broken = ruleBrokenByTexts(left, right); !broken.empty()) {
        return broken;
    }
    InMemoryEntryPath whole = left;
    if (&whole.append(rightText) != &whole) {
        return "append returns the path itself";
    }
    if (!(left.appended(rightText) == whole)) {
        return "a copy appended to";
    }
    const std::string broken = ruleBrokenByPath(whole, appended(left.string(), rightText));
    return broken.empty() ? "" : "appended: " + broken;
}

} // namespace storage::inmemoryprovider::tests
