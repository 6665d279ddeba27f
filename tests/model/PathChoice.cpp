#include "tests/model/PathChoice.h"

#include "tests/model/PathPool.h"
#include "tests/model/PathRules.h"

#include <array>
#include <cstddef>
#include <vector>

namespace storage::inmemoryprovider::tests {

namespace {

std::vector<std::u16string> pathsOfKind(const ReferenceModel& model, PathChoice::From from) {
    std::vector<std::u16string> paths;
    for (const auto& [path, entry] : model.entries()) {
        if (entry.isFolder() == (from != PathChoice::From::File)) {
            paths.push_back(path);
        }
    }
    // The root refuses most operations on folders, and the pool already contains it.
    if (from == PathChoice::From::Folder && paths.size() > 1) {
        paths.erase(paths.begin());
    }
    return paths;
}

/// All these paths are entries of the folder: each additional "/" before the name makes another path with the
/// same name.
std::u16string inFolder(const std::u16string& folder, std::uint8_t name) {
    static constexpr std::array<const char16_t*, 10> tails = {u"/a", u"/b",  u"/c", u"/f",  u"/g",
                                                              u"/s", u"//f", u"//", u"//s", u"///"};
    std::u16string tail = tails[name % tails.size()];
    if (folder == u"/") {
        return tail;
    }
    return folder.back() == u'/' ? folder + u"/" + tail : folder + tail;
}

} // namespace

std::u16string resolve(const PathChoice& choice, const ReferenceModel& model) {
    if (choice.from == PathChoice::From::Text) {
        return choice.text;
    }
    if (choice.from != PathChoice::From::Pool) {
        const auto paths = pathsOfKind(model, choice.from);
        if (!paths.empty()) {
            const auto& path = paths[choice.pick % paths.size()];
            return choice.from == PathChoice::From::InFolder ? inFolder(path, choice.name) : addressOf(path);
        }
    }
    return pathPool()[choice.pick % pathPool().size()];
}

} // namespace storage::inmemoryprovider::tests
