#include "host/storage/TreeWalk.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::StoragePath;
using host::TreeWalk;
using Kind = TreeWalk::Step::Kind;
using testing::ElementsAre;

class TreeWalkTest : public SessionTest {
protected:
    TreeWalkTest() {
        succeed("mkdir -p /t/b/c /t/e");
        succeed("touch /t/a /t/b/c/f");
    }

    static std::string describe(const TreeWalk::Step& step) {
        const char* const kinds[] = {"file", "folder", "done"};
        return std::string(kinds[static_cast<int>(step.kind)]) + ' ' + step.path.printed() + ' ' +
               host::printable(step.name) + ' ' + std::to_string(step.depth) +
               (step.position == TreeWalk::Step::Position::Last ? " last" : "");
    }

    std::vector<std::string> walk(std::u16string_view top, std::u16string_view skipped = u"") {
        std::vector<std::string> steps;
        const StoragePath path = StoragePath::resolve(StoragePath(), top);
        for (TreeWalk walk(*provider_, path); const auto step = walk.next();) {
            steps.push_back(describe(*step));
            if (step->name != skipped) {
                walk.descend();
            }
        }
        return steps;
    }
};

TEST_F(TreeWalkTest, ReturnsFoldersBeforeAndAfterTheirContent) {
    EXPECT_THAT(walk(u"/t"), ElementsAre("folder /t t 0 last", "file /t/a a 1", "folder /t/b b 1",
                                         "folder /t/b/c c 2 last", "file /t/b/c/f f 3 last",
                                         "done /t/b/c c 2 last", "done /t/b b 1", "folder /t/e e 1 last",
                                         "done /t/e e 1 last", "done /t t 0 last"));
}

TEST_F(TreeWalkTest, SkipsFoldersOnRequest) {
    EXPECT_THAT(walk(u"/t", u"b"),
                ElementsAre("folder /t t 0 last", "file /t/a a 1", "folder /t/b b 1", "folder /t/e e 1 last",
                            "done /t/e e 1 last", "done /t t 0 last"));
}

TEST_F(TreeWalkTest, ReturnsASingleFile) {
    EXPECT_THAT(walk(u"/t/a"), ElementsAre("file /t/a a 0 last"));
}

TEST_F(TreeWalkTest, ContinuesAfterAFailedListing) {
    std::vector<std::string> steps;
    for (TreeWalk walk(*provider_, StoragePath::resolve(StoragePath(), u"/t"));
         const auto step = walk.next();) {
        steps.push_back(step->path.printed());
        if (step->path.text() == u"/t/b") {
            provider_->doRemoveFolderRecursively(step->path.iri());
            EXPECT_THROW(walk.descend(), provider::Exception);
        } else {
            walk.descend();
        }
    }
    EXPECT_THAT(steps, ElementsAre("/t", "/t/a", "/t/b", "/t/e", "/t/e", "/t"));
}

} // namespace

} // namespace storage::tests
