#include "tests/model/PathPool.h"

namespace storage::inmemoryprovider::tests {

const std::vector<std::u16string>& pathPool() {
    using namespace std::string_literals;
    static const std::vector<std::u16string> pool = {
        // Everyday paths.
        u"/a", u"/b", u"/a/b", u"/a/f", u"/b/f", u"/a/b/c", u"/a/b/c/d", u"/a/s", u"/a/s/g",
        // The root, and what only looks like it.
        u"/", u"//", u"///", u"",
        // Separators at the ends.
        u"/a/", u"//a", u"///a", u"/a//", u"/a///", u"/b//", u"/b///",
        // Separators inside: these are kept, so two paths in one folder can share a name.
        u"/a//b", u"/a///b", u"/a////b", u"/a//f", u"/b//f", u"/a/b//c",
        // Relative texts.
        u"a", u"a/b", u"a//b", u"ab/c", u"ab",
        // Names that begin like other names, and sort around their descendants.
        u"/a-b", u"/a0", u"/ab", u"/A", u"/a b",
        // Names that mean something elsewhere.
        u"/.", u"/..", u"/a/..", u"/a\0b"s,
        // A surrogate pair, its halves alone, and code units that sort around them.
        u"/\xD83D\xDE00", u"/\xD83D", u"/\xDE00", u"/a/\xD83D\xDE00", u"/\xE000", u"/\xFFFD", u"/\x00E4"};
    return pool;
}

} // namespace storage::inmemoryprovider::tests
