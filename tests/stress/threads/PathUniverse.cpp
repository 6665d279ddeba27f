#include "tests/stress/threads/PathUniverse.h"

#include "hostapi/core/except/UtfConversion.h"

#include <algorithm>
#include <functional>

namespace storage::stress {

namespace {

constexpr char16_t highestRank = u'd';
constexpr char16_t lowestRank = u'a';
constexpr std::u16string_view digits = u"01";

/// Prefix and length of the names of copies' temporary files.
constexpr std::u16string_view temporaryBeginning = u".copy-";
constexpr std::size_t temporaryLength = temporaryBeginning.size() + 16;

std::u16string name(char16_t rank, char16_t digit) {
    return {rank, digit};
}

char16_t rankOf(std::u16string_view path) {
    return path[path.rfind(u'/') + 1];
}

std::vector<std::u16string> makeEveryPath() {
    std::vector<std::u16string> paths{u""};
    for (char16_t rank = highestRank; rank >= lowestRank; --rank) {
        const std::size_t count = paths.size();
        for (std::size_t i = 0; i < count; ++i) {
            for (const char16_t digit : digits) {
                paths.push_back(joined(paths[i], name(rank, digit)));
            }
        }
    }
    paths.erase(paths.begin());
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

const std::vector<std::u16string>& everyPath() {
    static const std::vector<std::u16string> paths = makeEveryPath();
    return paths;
}

std::u16string anyPath(Random& random) {
    std::u16string path;
    for (char16_t rank = highestRank; rank >= lowestRank; --rank) {
        if (onceIn(2, random)) {
            path = joined(path, name(rank, digits[pick(random, digits.size())]));
        }
    }
    if (!path.empty()) {
        return path;
    }
    return onceIn(4, random) ? std::u16string(rootPath) : anyPath(random);
}

std::u16string anyTargetForFolder(const std::u16string& source, Random& random) {
    while (true) {
        auto target = anyPath(random);
        if (source == rootPath || target == rootPath || isSelfOrBelow(target, source) ||
            rankOf(target) >= rankOf(source)) {
            return target;
        }
    }
}

std::u16string joined(std::u16string_view folder, std::u16string_view name) {
    std::u16string path(folder == rootPath ? u"" : folder);
    path += u'/';
    path += name;
    return path;
}

bool isSelfOrBelow(std::u16string_view path, std::u16string_view folder) {
    return folder == rootPath || path == folder ||
           (path.starts_with(folder) && path.substr(folder.size()).starts_with(u'/'));
}

bool isPossible(std::u16string_view path) {
    if (!isTemporary(path)) {
        return std::binary_search(everyPath().begin(), everyPath().end(), path, std::less<>());
    }
    const auto folder = path.substr(0, path.rfind(u'/'));
    return path.size() - folder.size() == 1 + temporaryLength && (folder.empty() || isPossible(folder));
}

bool isTemporary(std::u16string_view path) {
    return path.substr(path.rfind(u'/') + 1).starts_with(temporaryBeginning);
}

std::string shown(std::u16string_view path) {
    return foundation::core::except::toReadableUtf8(path);
}

} // namespace storage::stress
