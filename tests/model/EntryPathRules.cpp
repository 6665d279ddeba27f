#include "tests/model/EntryPathRules.h"

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"
#include "tests/model/PathRules.h"

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

/// `expected` is the text that the path is to have; it need not be one in normal form.
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
    return ruleBrokenByWayUp(path);
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
    InMemoryEntryPath whole = left;
    if (&whole.append(rightText) != &whole) {
        return "append returns the path itself";
    }
    const std::string broken = ruleBrokenByPath(whole, appended(left.string(), rightText));
    return broken.empty() ? "" : "appended: " + broken;
}

} // namespace storage::inmemoryprovider::tests
