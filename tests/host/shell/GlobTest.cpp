#include "host/shell/Glob.h"
#include "host/shell/CommandLineLexer.h"
#include "host/shell/DiskLookup.h"
#include "host/shell/StorageLookup.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using host::CommandLineLexer;
using host::DiskLookup;
using host::Glob;
using host::StorageLookup;
using testing::ElementsAre;

class GlobTest : public SessionTest {
protected:
    GlobTest() {
        for (const char* line : {"mkdir -p /src/lib /src/bin '/src/a*'", "touch /src/lib/x.h /src/lib/y.h",
                                 "touch /src/lib/z.cpp /src/bin/x.h '/src/a*/f' /src/.hidden /top.h"}) {
            succeed(line);
        }
    }

    std::vector<std::string> expand(const std::string& quoted) {
        const StorageLookup lookup(session_);
        return Glob(lookup).expand(CommandLineLexer(quoted).words().at(0));
    }
};

TEST_F(GlobTest, LeavesWordsWithoutWildcardsAlone) {
    EXPECT_THAT(expand("/src/lib"), ElementsAre("/src/lib"));
    EXPECT_THAT(expand("//src/../nowhere/"), ElementsAre("//src/../nowhere/"));
}

TEST_F(GlobTest, LeavesPatternsWithoutMatchAlone) {
    EXPECT_THAT(expand("/src/*.txt"), ElementsAre("/src/*.txt"));
    EXPECT_THAT(expand("/nowhere/*"), ElementsAre("/nowhere/*"));
    EXPECT_THAT(expand("/top.h/*"), ElementsAre("/top.h/*"));
}

TEST_F(GlobTest, MatchesNamesInSortedOrder) {
    EXPECT_THAT(expand("/src/lib/*.h"), ElementsAre("/src/lib/x.h", "/src/lib/y.h"));
    EXPECT_THAT(expand("/src/lib/?.*"), ElementsAre("/src/lib/x.h", "/src/lib/y.h", "/src/lib/z.cpp"));
    EXPECT_THAT(expand("/src/*"), ElementsAre("/src/.hidden", "/src/a*", "/src/bin", "/src/lib"));
}

TEST_F(GlobTest, MatchesComponentByComponent) {
    EXPECT_THAT(expand("/*/*/x.h"), ElementsAre("/src/bin/x.h", "/src/lib/x.h"));
    EXPECT_THAT(expand("/s*/?i?/z*"), ElementsAre("/src/lib/z.cpp"));
    EXPECT_THAT(expand("/*/x.h"), ElementsAre("/*/x.h")) << "a wildcard does not match a slash";
}

TEST_F(GlobTest, KeepsTheSpellingOfTheWord) {
    succeed("cd /src");
    EXPECT_THAT(expand("lib/*.h"), ElementsAre("lib/x.h", "lib/y.h"));
    EXPECT_THAT(expand("./b*"), ElementsAre("./bin"));
    EXPECT_THAT(expand("../*.h"), ElementsAre("../top.h"));
    EXPECT_THAT(expand("/src//l*"), ElementsAre("/src//lib"));
}

TEST_F(GlobTest, MatchesFoldersOnlyIfAPatternEndsWithASlash) {
    EXPECT_THAT(expand("/*/"), ElementsAre("/src/"));
}

TEST_F(GlobTest, MatchesQuotedWildcardsLiterally) {
    EXPECT_THAT(expand("/src/'a*'/*"), ElementsAre("/src/a*/f"));
    EXPECT_THAT(expand("/src/\\**"), ElementsAre("/src/**"));
}

TEST_F(GlobTest, MatchesOneCharacterOfAnyScriptWithAQuestionMark) {
    succeed("touch /😀.h /ä.h '/?😀'");
    EXPECT_THAT(expand("/?.h"), ElementsAre("/ä.h", "/😀.h"));
    EXPECT_THAT(expand("/😀?h"), ElementsAre("/😀.h"));
    EXPECT_THAT(expand("/'?'?"), ElementsAre("/?😀"));
}

TEST_F(GlobTest, NeverReturnsAMatchThatLooksLikeAnOption) {
    succeed("touch /-rf");
    EXPECT_THAT(expand("-*"), ElementsAre("./-rf"));
    EXPECT_THAT(expand("/-*"), ElementsAre("/-rf"));
}

TEST_F(GlobTest, SkipsNamesThatNoByteStringProduces) {
    provider_->doCreateFile(provider::StorageIRI(u"/src/bin/\xD800"));
    EXPECT_THAT(expand("/src/bin/*"), ElementsAre("/src/bin/x.h"));
    EXPECT_THAT(expand("/src/\xFF*"), ElementsAre("/src/\xFF*"));
}

TEST_F(GlobTest, MatchesNamesThatAreNotUtf8ByteByByte) {
    succeed("mkdir /bytes");
    succeed("touch /bytes/a\xFF*b /bytes/a\x80\xC3z /bytes/a\x80xz");
    EXPECT_THAT(expand("/bytes/a?'*'b"), ElementsAre("/bytes/a\xFF*b"));
    EXPECT_THAT(expand("/bytes/a\x80?z"), ElementsAre("/bytes/a\x80xz", "/bytes/a\x80\xC3z"));
    EXPECT_THAT(expand("/bytes/a\x80'\xC3'*"), ElementsAre("/bytes/a\x80\xC3z"));
}

/// Patterns on the disk.
class DiskGlobTest : public SessionTest {
protected:
    DiskGlobTest() {
        for (const char* const name : {"src/x.h", "src/y.h", "src/.hidden", "src/lib/z.cpp", "\xFF", "a*"}) {
            disk_.write(name, "");
        }
        std::filesystem::create_directory_symlink("src", disk_ / "link");
        std::filesystem::create_symlink("nowhere", disk_ / "torn");
    }

    std::vector<std::string> expand(const std::string& quoted) {
        const DiskLookup lookup;
        std::vector<std::string> paths = Glob(lookup).expand(CommandLineLexer(disk_ / quoted).words().at(0));
        for (std::string& path : paths) {
            path.erase(0, disk_.path().size() + 1);
        }
        return paths;
    }
};

TEST_F(DiskGlobTest, MatchesNamesOfTheDisk) {
    EXPECT_THAT(expand("src/*.h"), ElementsAre("src/x.h", "src/y.h"));
    EXPECT_THAT(expand("*/?i?/*"), ElementsAre("link/lib/z.cpp", "src/lib/z.cpp"));
    EXPECT_THAT(expand("src/*"), ElementsAre("src/.hidden", "src/lib", "src/x.h", "src/y.h"));
    EXPECT_THAT(expand("'a*'"), ElementsAre("a*"));
    EXPECT_THAT(expand("\\a\\*"), ElementsAre("a*"));
    EXPECT_THAT(expand("src/*.txt"), ElementsAre("src/*.txt"));
}

TEST_F(DiskGlobTest, MatchesFoldersAndLinksToThemIfAPatternEndsWithASlash) {
    EXPECT_THAT(expand("*/"), ElementsAre("link/", "src/"));
    EXPECT_THAT(expand("src/*/"), ElementsAre("src/lib/"));
}

TEST_F(DiskGlobTest, MatchesNamesThatAreNotUtf8AndSkipsUnreadableFolders) {
    EXPECT_THAT(expand("*"), ElementsAre("a*", "link", "src", "torn", "\xFF"));
    EXPECT_THAT(expand("torn/*"), ElementsAre("torn/*"));
    EXPECT_THAT(expand("src/x.h/*"), ElementsAre("src/x.h/*"));
}

} // namespace

} // namespace storage::tests
