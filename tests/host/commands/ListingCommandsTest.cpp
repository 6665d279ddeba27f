#include "tests/support/SessionTest.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using provider::StorageIRI;
using testing::HasSubstr;
using testing::MatchesRegex;

/// ls, tree, find, stat, du, cd, pwd, help.
class ListingCommandsTest : public SessionTest {
protected:
    ListingCommandsTest() {
        succeed("mkdir -p /src/lib /doc");
        succeed("write /src/lib/x.h 1234");
        succeed("write /src/lib/y.cpp 1");
        succeed("write /top.h 12");
    }
};

TEST_F(ListingCommandsTest, LsListsTheCurrentFolder) {
    EXPECT_EQ(succeed("ls"), "doc\nsrc\ntop.h\n");
    succeed("cd /src/lib");
    EXPECT_EQ(succeed("ls"), "x.h\ny.cpp\n");
}

TEST_F(ListingCommandsTest, LsPrintsNothingForAnEmptyFolder) {
    EXPECT_EQ(succeed("ls /doc"), "");
}

TEST_F(ListingCommandsTest, LsShowsFilesFirstThenFoldersUnderHeadings) {
    EXPECT_EQ(succeed("ls /src /top.h /doc"), "/top.h\n\n/src:\nlib\n\n/doc:\n");
}

TEST_F(ListingCommandsTest, LsPrintsRelativeMatchesOfRelativePatterns) {
    succeed("cd /src");
    EXPECT_EQ(succeed("ls lib/*"), "lib/x.h\nlib/y.cpp\n");
}

TEST_F(ListingCommandsTest, LsRecursivelyShowsEveryFolder) {
    EXPECT_EQ(succeed("ls -R /src"), "/src:\nlib\n\n/src/lib:\nx.h\ny.cpp\n");
    succeed("cd /src");
    EXPECT_EQ(succeed("ls -R"), ".:\nlib\n\n./lib:\nx.h\ny.cpp\n");
}

TEST_F(ListingCommandsTest, LsLongPrintsTypeFlagSizeAndTime) {
    succeed("chmod -w /src/lib/y.cpp");
    provider_->doSetLastModified(StorageIRI(u"/src/lib/x.h"),
                                 boost::posix_time::ptime(boost::gregorian::date(2024, 2, 29)));
    provider_->doSetLastModified(StorageIRI(u"/src/lib/y.cpp"),
                                 boost::posix_time::ptime(boost::gregorian::date(1999, 12, 31),
                                                          boost::posix_time::time_duration(23, 59, 58)));
    succeed("truncate -s 12345 /src/lib/x.h");
    provider_->doSetLastModified(StorageIRI(u"/src/lib/x.h"),
                                 boost::posix_time::ptime(boost::gregorian::date(2024, 2, 29)));
    EXPECT_EQ(succeed("ls -l /src/lib"), "-rw 12345 2024-02-29 00:00:00 x.h\n"
                                         "-r-     2 1999-12-31 23:59:58 y.cpp\n");
    EXPECT_THAT(succeed("ls -l /src"), MatchesRegex("drw 0 [-0-9]+ [:0-9]+ lib\n"));
}

TEST_F(ListingCommandsTest, LsSortsByTimeAndSize) {
    const boost::posix_time::ptime day(boost::gregorian::date(2024, 2, 29));
    const boost::gregorian::days one(1);
    succeed("truncate -s 2000 /src/lib/a");
    succeed("truncate -s 2000 /src/lib/z");
    provider_->doSetLastModified(StorageIRI(u"/src/lib/a"), day);
    provider_->doSetLastModified(StorageIRI(u"/src/lib/x.h"), day + one);
    provider_->doSetLastModified(StorageIRI(u"/src/lib/y.cpp"), day - one);
    provider_->doSetLastModified(StorageIRI(u"/src/lib/z"), day);
    EXPECT_EQ(succeed("ls -t /src/lib"), "x.h\na\nz\ny.cpp\n");
    EXPECT_EQ(succeed("ls -tr /src/lib"), "y.cpp\nz\na\nx.h\n");
    EXPECT_EQ(succeed("ls -S /src/lib"), "a\nz\nx.h\ny.cpp\n");
    EXPECT_EQ(succeed("ls -r /src/lib"), "z\ny.cpp\nx.h\na\n");
    EXPECT_EQ(succeed("ls -1 /src/lib"), succeed("ls /src/lib"));
    EXPECT_EQ(succeed("ls -S /top.h /src/lib/z"), "/src/lib/z\n/top.h\n");
    EXPECT_EQ(run("ls -tS"), ExitStatus::Usage);
}

TEST_F(ListingCommandsTest, PrintsHumanReadableSizes) {
    succeed("truncate -s 1536 /src/lib/x.h");
    succeed("truncate -s 20M /src/lib/y.cpp");
    EXPECT_THAT(succeed("ls -lhS /src/lib"),
                MatchesRegex("-rw  20M [-0-9]+ [:0-9]+ y.cpp\n-rw 1.5K [-0-9]+ [:0-9]+ x.h\n"));
    EXPECT_EQ(succeed("du -h /src"), "21M\t/src/lib\n21M\t/src\n");
    EXPECT_EQ(succeed("du -sh /doc"), "0\t/doc\n");
}

TEST_F(ListingCommandsTest, PrintsFoldersInColor) {
    console_.useColors();
    EXPECT_EQ(succeed("ls"), "\033[1;34mdoc\033[0m\n\033[1;34msrc\033[0m\ntop.h\n");
    EXPECT_EQ(succeed("tree /src"), "/src\n└── \033[1;34mlib\033[0m\n    ├── x.h\n    └── y.cpp\n"
                                    "\n2 folders, 2 files\n");
    EXPECT_EQ(succeed("ls -l /top.h").find('\033'), std::string::npos);
}

TEST_F(ListingCommandsTest, LsContinuesAfterMissingEntries) {
    EXPECT_EQ(fail("ls /nowhere /top.h"), "qzstorage: ls: /nowhere: no such file or folder\n");
    EXPECT_EQ(output(), "/top.h\n");
    EXPECT_EQ(fail("ls *.zip"), "qzstorage: ls: /*.zip: no such file or folder\n");
}

TEST_F(ListingCommandsTest, TreePrintsAndCountsEntries) {
    EXPECT_EQ(succeed("tree"), ".\n"
                               "├── doc\n"
                               "├── src\n"
                               "│   └── lib\n"
                               "│       ├── x.h\n"
                               "│       └── y.cpp\n"
                               "└── top.h\n"
                               "\n4 folders, 3 files\n");
}

TEST_F(ListingCommandsTest, TreeLimitsThePrintedDepthButCountsAll) {
    EXPECT_EQ(succeed("tree -L 1 /src"), "/src\n└── lib\n\n2 folders, 2 files\n");
    EXPECT_EQ(succeed("tree /top.h"), "/top.h\n\n0 folders, 1 file\n");
}

TEST_F(ListingCommandsTest, TreeRejectsInvalidDepths) {
    EXPECT_EQ(run("tree -L x"), ExitStatus::Usage);
    EXPECT_EQ(run("tree -L 0"), ExitStatus::Usage);
    EXPECT_EQ(run("tree -L 3x"), ExitStatus::Usage);
    EXPECT_THAT(errors(), HasSubstr("'3x' is not a number of levels"));
    EXPECT_EQ(fail("tree /nowhere"), "qzstorage: tree: /nowhere: no such file or folder\n");
}

TEST_F(ListingCommandsTest, FindListsAllEntriesAndTheStart) {
    EXPECT_EQ(succeed("find /src"), "/src\n/src/lib\n/src/lib/x.h\n/src/lib/y.cpp\n");
    succeed("cd /src");
    EXPECT_EQ(succeed("find"), ".\n./lib\n./lib/x.h\n./lib/y.cpp\n");
    EXPECT_EQ(succeed("find lib/"), "lib/\nlib/x.h\nlib/y.cpp\n");
    EXPECT_EQ(succeed("find / -type d"), "/\n/doc\n/src\n/src/lib\n");
}

TEST_F(ListingCommandsTest, FindFiltersByNameAndKind) {
    EXPECT_EQ(succeed("find / -name '*.h'"), "/src/lib/x.h\n/top.h\n");
    EXPECT_EQ(succeed("find /src -type f"), "/src/lib/x.h\n/src/lib/y.cpp\n");
    EXPECT_EQ(succeed("find / -name '?oc' -type d"), "/doc\n");
    EXPECT_EQ(succeed("find / -name '?oc' -type f"), "");
    EXPECT_EQ(succeed("find /top.h /doc -name '*o*'"), "/top.h\n/doc\n");
}

TEST_F(ListingCommandsTest, FindReportsFailures) {
    EXPECT_EQ(fail("find /nowhere /doc"), "qzstorage: find: /nowhere: no such file or folder\n");
    EXPECT_EQ(output(), "/doc\n");
    EXPECT_EQ(run("find -type x"), ExitStatus::Usage);
    EXPECT_EQ(succeed("find -name \xFF"), "");
}

TEST_F(ListingCommandsTest, FindRejectsInvalidOptions) {
    EXPECT_EQ(run("find / -name"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: find: -name requires a value, PATTERN\n");
    EXPECT_EQ(run("find -name '*.h' -name '*.cpp'"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: find: -name is given more than once\n");
    EXPECT_EQ(run("find -type f -type d"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: find: -type is given more than once\n");
}

TEST_F(ListingCommandsTest, StatPrintsAllAttributes) {
    provider_->doSetLastModified(
        StorageIRI(u"/top.h"),
        boost::posix_time::ptime(boost::gregorian::date(2024, 2, 29), boost::posix_time::microseconds(123)));
    succeed("chmod -w /top.h");
    EXPECT_EQ(succeed("stat top.h"), "    path: /top.h\n"
                                     "    type: file\n"
                                     "    size: 3\n"
                                     "modified: 2024-02-29 00:00:00.000123 UTC\n"
                                     "writable: no\n");
    EXPECT_THAT(succeed("stat /"), HasSubstr("type: folder\n"));
    EXPECT_EQ(fail("stat /nowhere"), "qzstorage: stat: /nowhere: no such file or folder\n");
}

TEST_F(ListingCommandsTest, DuPrintsTheTotalOfEachFolder) {
    EXPECT_EQ(succeed("du /"), "0\t/doc\n7\t/src/lib\n7\t/src\n10\t/\n");
    EXPECT_EQ(succeed("du -s / /src /top.h"), "10\t/\n7\t/src\n3\t/top.h\n");
    EXPECT_EQ(fail("du /nowhere /doc"), "qzstorage: du: /nowhere: no such file or folder\n");
    EXPECT_EQ(output(), "0\t/doc\n");
}

TEST_F(ListingCommandsTest, DuDrawsBars) {
    const auto row = [](const std::string& sum, int drawn, const std::string& percent,
                        const std::string& path) {
        std::string text = sum + '\t';
        for (int i = 0; i < 20; ++i) {
            text += i < drawn ? "█" : "░";
        }
        return text + ' ' + percent + "%\t" + path + '\n';
    };
    EXPECT_EQ(succeed("du --bars /"), row("0", 0, "  0", "/doc") + row("7", 14, " 70", "/src/lib") +
                                          row("7", 14, " 70", "/src") + row("10", 20, "100", "/"));
    EXPECT_EQ(succeed("du -s --bars /doc /top.h"),
              row("0", 0, "  0", "/doc") + row("3", 20, "100", "/top.h"));
}

TEST_F(ListingCommandsTest, CdChangesTheCurrentFolder) {
    EXPECT_EQ(succeed("pwd"), "/\n");
    succeed("cd src/lib");
    EXPECT_EQ(succeed("pwd"), "/src/lib\n");
    succeed("cd ..");
    EXPECT_EQ(succeed("pwd"), "/src\n");
    succeed("cd");
    EXPECT_EQ(succeed("pwd"), "/\n");
}

TEST_F(ListingCommandsTest, CdAcceptsFoldersOnly) {
    EXPECT_EQ(fail("cd /top.h"), "qzstorage: cd: /top.h: not a folder\n");
    EXPECT_EQ(fail("cd /nowhere"), "qzstorage: cd: /nowhere: no such file or folder\n");
    EXPECT_EQ(fail("cd ''"), "qzstorage: cd: '': empty path\n");
    EXPECT_EQ(fail("cd \xC0"), "qzstorage: cd: /\\xC0: no such file or folder\n");
    EXPECT_EQ(succeed("pwd"), "/\n");
}

TEST_F(ListingCommandsTest, NamesAFileOnThePath) {
    for (const std::string command : {"ls", "tree", "find", "stat", "du", "cat", "cd"}) {
        EXPECT_EQ(fail(command + " /top.h/x/y"), "qzstorage: " + command + ": /top.h: not a folder\n");
        EXPECT_EQ(fail(command + " /doc/x/y"),
                  "qzstorage: " + command + ": /doc/x/y: no such file or folder\n");
    }
}

TEST_F(ListingCommandsTest, HelpListsEveryCommandAndDescribesOne) {
    EXPECT_THAT(succeed("help"), HasSubstr("\ncheck     Compare "));
    EXPECT_THAT(succeed("help find"), HasSubstr("usage: find [PATH...] [-name PATTERN] [-type f|d]\n"));
    EXPECT_EQ(succeed("find --help"), succeed("help find"));
    EXPECT_EQ(run("help frobnicate"), ExitStatus::Usage);
}

TEST_F(ListingCommandsTest, ListsDeepTreesWithoutRecursion) {
    std::string deep;
    for (int depth = 0; depth < 1500; ++depth) {
        deep += "/d";
    }
    succeed("mkdir -p " + deep);
    succeed("write " + deep + "/f bottom");
    EXPECT_EQ(succeed("tree -L 1 /d"), "/d\n└── d\n\n1500 folders, 1 file\n");
    EXPECT_EQ(succeed("find /d -name f"), deep + "/f\n");
    EXPECT_EQ(succeed("du -s /d"), "7\t/d\n");
    succeed("cp -r /d /e");
    succeed("mv /e /g");
    succeed("rm -rf /d /g");
    EXPECT_EQ(succeed("ls"), "doc\nsrc\ntop.h\n");
}

TEST_F(ListingCommandsTest, EscapesNamesThatAreNotUtf16) {
    provider_->doCreateFile(StorageIRI(u"/doc/\xD800"));
    EXPECT_EQ(succeed("ls /doc"), "\\uD800\n");
    EXPECT_EQ(succeed("find /doc -type f"), "/doc/\\uD800\n");
}

} // namespace

} // namespace storage::tests
