#include "tests/model/PathPool.h"

namespace storage::inmemoryprovider::tests {

const std::vector<std::u16string>& pathPool() {
    using namespace std::string_literals;
    static const std::vector<std::u16string> pool = {
        // Ordinary paths.
        u"/a", u"/b", u"/a/b", u"/a/f", u"/b/f", u"/a/b/c", u"/a/b/c/d", u"/a/s", u"/a/s/g",
        // The root, and texts that resemble it.
        u"/", u"//", u"///", u"",
        // Leading and trailing separators.
        u"/a/", u"//a", u"///a", u"/a//", u"/a///", u"/b//", u"/b///",
        // Repeated separators inside are kept, so two paths in one folder can have the same name.
        u"/a//b", u"/a///b", u"/a////b", u"/a//f", u"/b//f", u"/a/b//c",
        // Relative texts.
        u"a", u"a/b", u"a//b", u"ab/c", u"ab",
        // Names with a common prefix. Some sort between a folder and its descendants.
        u"/a-b", u"/a0", u"/ab", u"/A", u"/a b",
        // Names that are special elsewhere.
        u"/.", u"/..", u"/a/..", u"/a\0b"s,
        // A surrogate pair, its halves, and code units that sort around them.
        u"/\xD83D\xDE00", u"/\xD83D", u"/\xDE00", u"/a/\xD83D\xDE00", u"/\xE000", u"/\xFFFD", u"/\x00E4"};
    return pool;
}

} // namespace storage::inmemoryprovider::tests
