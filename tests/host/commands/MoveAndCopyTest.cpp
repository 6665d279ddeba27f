#include "tests/support/SessionTest.h"

namespace storage::tests {

namespace {

/// mv and cp.
class MoveAndCopyTest : public SessionTest {
protected:
    MoveAndCopyTest() {
        succeed("mkdir -p /a/s /d");
        succeed("write /a/f one");
        succeed("write /a/s/g two");
        succeed("write /h three");
    }

    std::string all() { return succeed("find /"); }
};

TEST_F(MoveAndCopyTest, MvRenamesFilesAndFolders) {
    succeed("mv /h /i");
    succeed("mv /a /b");
    EXPECT_EQ(all(), "/\n/b\n/b/f\n/b/s\n/b/s/g\n/d\n/i\n");
    EXPECT_EQ(succeed("cat /b/s/g /i"), "two\nthree\n");
}

TEST_F(MoveAndCopyTest, MvIntoAFolderKeepsTheName) {
    succeed("mv /h /a /d");
    EXPECT_EQ(all(), "/\n/d\n/d/a\n/d/a/f\n/d/a/s\n/d/a/s/g\n/d/h\n");
}

TEST_F(MoveAndCopyTest, RequiresAFolderForSeveralSources) {
    for (const std::string command : {"mv", "cp"}) {
        EXPECT_EQ(fail(command + " /h /a/f /x"), "qzstorage: " + command + ": /x: no such file or folder\n");
        EXPECT_EQ(fail(command + " /a/f /a/s/g /h"), "qzstorage: " + command + ": /h: not a folder\n");
    }
    EXPECT_EQ(all(), "/\n/a\n/a/f\n/a/s\n/a/s/g\n/d\n/h\n");
}

TEST_F(MoveAndCopyTest, RefusesTwoSourcesWithOneName) {
    succeed("mkdir /e");
    succeed("write /e/f other");
    for (const std::string command : {"cp", "mv -f"}) {
        EXPECT_EQ(fail(command + " /a/f /e/f /d"),
                  "qzstorage: " + command.substr(0, 2) + ": /d/f: another source has the same name\n");
        EXPECT_EQ(succeed("cat /d/f /e/f"), "one\nother\n");
    }
}

TEST_F(MoveAndCopyTest, MvUpdatesTheCurrentFolder) {
    succeed("cd /a/s");
    succeed("mv /a /d");
    EXPECT_EQ(succeed("pwd"), "/d/a/s\n");
    succeed("mv . /moved");
    EXPECT_EQ(succeed("pwd"), "/moved\n");
    EXPECT_EQ(succeed("cat g"), "two\n");
}

TEST_F(MoveAndCopyTest, MvRefusesAnExistingFileUnlessForced) {
    EXPECT_EQ(fail("mv /h /a/f"), "qzstorage: mv: /a/f: already exists\n");
    EXPECT_EQ(succeed("cat /h /a/f"), "three\none\n");
    succeed("mv -f /h /a/f");
    EXPECT_EQ(succeed("cat /a/f"), "three\n");
    EXPECT_EQ(fail("cat /h"), "qzstorage: cat: /h: no such file or folder\n");
}

TEST_F(MoveAndCopyTest, MvForcedReplacesAnEmptyFolderOnly) {
    succeed("mkdir -p /d/a");
    EXPECT_EQ(fail("mv /a /d"), "qzstorage: mv: /d/a: already exists\n");
    succeed("mv -f /a /d");
    EXPECT_EQ(all(), "/\n/d\n/d/a\n/d/a/f\n/d/a/s\n/d/a/s/g\n/h\n");
    succeed("mkdir /a");
    EXPECT_EQ(fail("mv -f /a /d"), "qzstorage: mv: /d/a: already exists\n");
}

TEST_F(MoveAndCopyTest, MvForcedNamesTheKindThatItCannotReplace) {
    EXPECT_EQ(fail("mv -f /a /h"), "qzstorage: mv: /h: is a file, so a folder cannot replace it\n");
    succeed("mkdir -p /d/h");
    EXPECT_EQ(fail("mv -f /h /d"), "qzstorage: mv: /d/h: is a folder, so a file cannot replace it\n");
    EXPECT_EQ(succeed("cat /h /a/f"), "three\none\n");
}

TEST_F(MoveAndCopyTest, RefusesAnEntryOntoItself) {
    for (const std::string command : {"mv -f", "cp -r"}) {
        const std::string name = command.substr(0, 2);
        for (const std::string words : {"/h /h", "/h /", "/h ./h", "h /a/../h"}) {
            EXPECT_EQ(fail(command + " " + words),
                      "qzstorage: " + name + ": /h: source and destination are the same\n");
        }
        EXPECT_EQ(fail(command + " /a /"),
                  "qzstorage: " + name + ": /a: source and destination are the same\n");
    }
    EXPECT_EQ(succeed("cat /h"), "three\n");
}

TEST_F(MoveAndCopyTest, RefusesAFolderBelowItself) {
    for (const std::string command : {"mv", "cp -r"}) {
        const std::string name = command.substr(0, 2);
        const std::string reason = ": a folder cannot be moved or copied into itself, ";
        EXPECT_EQ(fail(command + " /a /a"), "qzstorage: " + name + ": /a" + reason + "/a/a\n");
        EXPECT_EQ(fail(command + " /a /a/s"), "qzstorage: " + name + ": /a" + reason + "/a/s/a\n");
        EXPECT_EQ(fail(command + " /a /a/new"), "qzstorage: " + name + ": /a" + reason + "/a/new\n");
        EXPECT_EQ(fail(command + " / /d"), "qzstorage: " + name + ": /" + reason + "/d\n");
    }
    EXPECT_EQ(all(), "/\n/a\n/a/f\n/a/s\n/a/s/g\n/d\n/h\n");
}

TEST_F(MoveAndCopyTest, DistinguishesANamePrefixFromASubfolder) {
    succeed("mv /a /ab");
    succeed("cp -r /ab /abc");
    EXPECT_EQ(succeed("find / -name 'ab*'"), "/ab\n/abc\n");
}

TEST_F(MoveAndCopyTest, NamesTheMissingSourceOrParent) {
    for (const std::string command : {"mv", "cp"}) {
        EXPECT_EQ(fail(command + " /x /d"), "qzstorage: " + command + ": /x: no such file or folder\n");
        EXPECT_EQ(fail(command + " /h /x/y"),
                  "qzstorage: " + command + ": /h: cannot create /x/y: folder /x does not exist\n");
        EXPECT_EQ(fail(command + " /h /a/f/y"),
                  "qzstorage: " + command + ": /h: cannot create /a/f/y: /a/f is not a folder\n");
    }
}

TEST_F(MoveAndCopyTest, ContinuesAfterAFailedSource) {
    EXPECT_EQ(fail("mv /x /h /d"), "qzstorage: mv: /x: no such file or folder\n");
    EXPECT_EQ(succeed("ls /d"), "h\n");
}

TEST_F(MoveAndCopyTest, MvLosesNothingIfAFolderIsReadOnly) {
    succeed("chmod -w /a");
    EXPECT_EQ(fail("mv -f /a/f /h"), "qzstorage: mv: /a: the folder is read-only\n");
    EXPECT_EQ(succeed("cat /h"), "three\n");
    EXPECT_EQ(fail("mv /h /a"), "qzstorage: mv: /a: the folder is read-only\n");
    EXPECT_EQ(fail("cp /h /a"), "qzstorage: cp: /a: the folder is read-only\n");
}

TEST_F(MoveAndCopyTest, MvRefusesATreeWithAReadOnlyFolder) {
    succeed("chmod -w /a/s");
    EXPECT_EQ(fail("mv /a /b"), "qzstorage: mv: /a/s: the folder is read-only\n");
    EXPECT_EQ(all(), "/\n/a\n/a/f\n/a/s\n/a/s/g\n/d\n/h\n");
}

TEST_F(MoveAndCopyTest, RefusesToReplaceAReadOnlyFile) {
    succeed("chmod -w /a/f");
    EXPECT_EQ(fail("mv -f /h /a/f"), "qzstorage: mv: /a/f: the file is read-only\n");
    EXPECT_EQ(fail("cp /h /a/f"), "qzstorage: cp: /a/f: the file is read-only\n");
    EXPECT_EQ(succeed("cat /h /a/f"), "three\none\n");
}

TEST_F(MoveAndCopyTest, CpCreatesAnIndependentCopy) {
    succeed("cp /h /d");
    succeed("append /d/h more");
    EXPECT_EQ(succeed("cat /h /d/h"), "three\nthree\nmore\n");
}

TEST_F(MoveAndCopyTest, CpReplacesAnExistingFile) {
    succeed("cp /h /a/f");
    EXPECT_EQ(succeed("cat /a/f /h"), "three\nthree\n");
}

TEST_F(MoveAndCopyTest, CpCopiesFoldersOnlyRecursively) {
    EXPECT_EQ(fail("cp /a /b"), "qzstorage: cp: /a: is a folder; use cp -r\n");
    succeed("cp -r /a /b");
    succeed("cp -r /a /h /d");
    EXPECT_EQ(succeed("find /b /d"), "/b\n/b/f\n/b/s\n/b/s/g\n/d\n/d/a\n/d/a/f\n/d/a/s\n/d/a/s/g\n/d/h\n");
    EXPECT_EQ(succeed("cat /d/a/s/g"), "two\n");
}

TEST_F(MoveAndCopyTest, CpMergesIntoExistingFolders) {
    succeed("mkdir -p /d/a/x /d/a/f");
    EXPECT_EQ(fail("cp -r /a /d"), "qzstorage: cp: /d/a/f: already exists\n")
        << "a folder is in a file's way";
    EXPECT_EQ(succeed("find /d"), "/d\n/d/a\n/d/a/f\n/d/a/s\n/d/a/s/g\n/d/a/x\n");
}

} // namespace

} // namespace storage::tests
