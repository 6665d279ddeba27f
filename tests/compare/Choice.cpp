#include "tests/compare/Choice.h"

#include "tests/compare/Users.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace syscalls {

namespace {

constexpr std::ptrdiff_t deepest = 4;
constexpr std::int64_t pageSize = 4096;

} // namespace

std::int64_t Choice::flags(std::initializer_list<int> flags, int rarity) {
    std::int64_t result = 0;
    for (const int flag : flags) {
        result |= oneIn(rarity) ? flag : 0;
    }
    return result;
}

std::string Choice::anyOf(const std::vector<std::string>& paths) {
    return paths.empty() ? fresh()
                         : paths[static_cast<std::size_t>(below(static_cast<std::int64_t>(paths.size())))];
}

std::string Choice::name() {
    if (oneIn(30)) {
        return std::string(255, 'x');
    }
    if (oneIn(20) && !exclusions_.has("names-not-utf8")) {
        return of<const char*>({"\xFF\xFE", "caf\xE9", "\xED\xA0\x80"});
    }
    return of<const char*>(
        {"a", "b", "c", "d", "e", "f", "g", "h", ".i", "\xC3\xA4", "\xF0\x9F\x98\x80", "..j"});
}

std::string Choice::fresh() {
    std::vector<std::string> folders = sketch_.paths(TreeSketch::Kind::Folder);
    std::erase_if(folders, [](const std::string& path) { return std::ranges::count(path, '/') >= deepest; });
    if (folders.empty() || oneIn(3)) {
        return name();
    }
    return anyOf(folders) + '/' + name();
}

std::string Choice::odd() {
    const std::string base = oneIn(2) ? anyOf(sketch_.paths()) : name();
    switch (below(13)) {
    case 0:
        return "";
    case 1:
        return ".";
    case 2:
        return "..";
    case 3:
        return "/";
    case 4:
        return base + "/";
    case 5:
        return base + "/.";
    case 6:
        return base + "/..";
    case 7:
        return "./" + base;
    case 8:
        return "//" + base;
    case 9:
        return base + "/" + std::string(256, 'y');
    case 10:
        return std::string(5000, 'z');
    case 11:
        return "missing/" + base;
    default:
        return base + "//" + name();
    }
}

std::string Choice::path() {
    if (oneIn(25)) {
        return odd();
    }
    return oneIn(8) ? fresh() : anyOf(sketch_.paths());
}

std::string Choice::mostly(TreeSketch::Kind kind) {
    return oneIn(6) ? path() : anyOf(sketch_.paths(kind));
}

std::string Choice::file() {
    return mostly(TreeSketch::Kind::File);
}

std::string Choice::folder() {
    return oneIn(10) ? "." : mostly(TreeSketch::Kind::Folder);
}

std::string Choice::link() {
    return mostly(TreeSketch::Kind::Link);
}

std::string Choice::linkTarget() {
    switch (below(6)) {
    case 0:
        return '/' + anyOf(sketch_.paths());
    case 1:
        return "../" + name();
    case 2:
        return oneIn(2) ? std::string(static_cast<std::size_t>(below(5000)), 't')
                        : std::string("\xFF no path");
    default:
        return name();
    }
}

std::string Choice::extendedName() {
    if (oneIn(25)) {
        return of<const char*>({"", "user.", "nonsense", "none.such", "trusted.", "USER.a"});
    }
    if (oneIn(40)) {
        return "user." + std::string(static_cast<std::size_t>(of({249, 250, 251})), 'n');
    }
    return of<const char*>({"user.a", "user.b", "user.c", "user.a.b", "trusted.t", "security.s"});
}

std::int64_t Choice::slotWith(TreeSketch::Slot content) {
    std::vector<unsigned> found;
    for (unsigned slot = 0; slot < TreeSketch::slots; ++slot) {
        if (sketch_.slot(user_, slot) == content) {
            found.push_back(slot);
        }
    }
    return found.empty() ? slot()
                         : found[static_cast<std::size_t>(below(static_cast<std::int64_t>(found.size())))];
}

std::int64_t Choice::slot() {
    return below(TreeSketch::slots);
}

std::int64_t Choice::fileSlot() {
    return oneIn(20) ? slot() : slotWith(TreeSketch::Slot::File);
}

std::int64_t Choice::folderSlot() {
    return oneIn(20) ? slot() : oneIn(6) ? currentFolder : slotWith(TreeSketch::Slot::Folder);
}

std::int64_t Choice::offset() {
    if (oneIn(100) && !exclusions_.has("huge-offsets")) {
        return (std::int64_t{1} << below(63)) + below(3) - 1;
    }
    if (oneIn(80)) {
        return -1 - below(5000);
    }
    switch (below(4)) {
    case 0:
        return below(64);
    case 1:
        return below(8) * pageSize;
    case 2:
        return std::max<std::int64_t>(below(50) * pageSize + below(5) - 2, 0);
    default:
        return below(40'000);
    }
}

std::int64_t Choice::length() {
    switch (below(6)) {
    case 0:
        return 0;
    case 1:
        return below(4) * pageSize;
    case 2:
        return below(100'000);
    default:
        return below(300);
    }
}

std::int64_t Choice::permissions() {
    const std::int64_t left = exclusions_.has("set-group-id") ? ~std::int64_t{S_ISGID} : -1;
    if (oneIn(4)) {
        return below(07777 + 1) & left;
    }
    return left & of({0644, 0666, 0600, 0755, 0777, 0777, 0700, 0750, 01777, 02775, 04755, 06711, 0444, 0,
                      0222, 0111});
}

std::pair<std::int64_t, std::int64_t> Choice::owners() {
    const std::int64_t user = owner();
    const std::int64_t group = owner();
    const bool changesNothing = user == -1 && group == -1;
    return {changesNothing && exclusions_.has("no-owner") ? 0 : user, group};
}

std::int64_t Choice::owner() {
    return of<std::int64_t>({-1, 0, ordinaryUser, ordinaryGroup, otherGroup, strangeUser});
}

std::pair<std::int64_t, std::int64_t> Choice::time() {
    switch (below(8)) {
    case 0:
        return {0, UTIME_NOW};
    case 1:
        return {0, UTIME_OMIT};
    case 2:
        return {below(1'000'000'000), oneIn(8) ? 1'000'000'000 : below(1'000'000'000)};
    case 3:
        return {5'000'000'000, 1};
    default:
        return {1'000'000'000 + below(500'000'000), below(1'000'000'000)};
    }
}

} // namespace syscalls
