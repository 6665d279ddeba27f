#include "tests/model/PathRules.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace storage::inmemoryprovider::tests {

std::u16string normalised(std::u16string_view text) {
    std::u16string left(text);
    if (left.size() < 2) {
        return left;
    }
    if (left.back() == u'/') {
        left.pop_back();
    }
    std::size_t run = 0;
    while (1 + run < left.size() && left[1 + run] == u'/') {
        ++run;
    }
    return left.substr(run);
}

std::u16string parentOf(std::u16string_view path) {
    std::size_t end = path.size(); // one past the last "/", or 0
    while (end > 0 && path[end - 1] != u'/') {
        --end;
    }
    if (end == 0 || path == u"/") {
        return u"";
    }
    if (end == 1) {
        return u"/";
    }
    return normalised(path.substr(0, end - 1));
}

bool hasParent(std::u16string_view path) {
    return path != u"/" && std::count(path.begin(), path.end(), u'/') > 0;
}

std::u16string nameOf(std::u16string_view path) {
    if (path == u"/") {
        return u"/";
    }
    std::u16string name;
    for (const char16_t unit : path) {
        if (unit == u'/') {
            name.clear();
        } else {
            name.push_back(unit);
        }
    }
    return name;
}

std::u16string appended(std::u16string_view path, std::u16string_view name) {
    return std::u16string(path) + u"/" + normalised(name);
}

bool isSelfOrBelow(std::u16string_view path, std::u16string_view folder) {
    std::u16string step(path);
    while (step != folder && !step.empty()) {
        step = parentOf(step);
    }
    return step == folder;
}

bool sortsBefore(std::u16string_view left, std::u16string_view right) {
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
        if (left[i] != right[i]) {
            return static_cast<std::uint16_t>(left[i]) < static_cast<std::uint16_t>(right[i]);
        }
    }
    return left.size() < right.size();
}

std::u16string addressOf(const std::u16string& path) {
    return normalised(path) == path ? path : path + u"/";
}

} // namespace storage::inmemoryprovider::tests
