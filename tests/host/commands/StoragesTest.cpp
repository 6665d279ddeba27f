#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"
#include "tests/support/SessionTest.h"
#include "tests/support/TreeContents.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using provider::StorageIRI;
using provider::SystemError;
using testing::HasSubstr;

/// A session with the storages mem and disk. The current storage is mem.
class StoragesTest : public SessionTest {
protected:
    StoragesTest() : SessionTest({"mem", "disk"}) {
        succeed("mkdir -p /a disk:/b/c");
        succeed("write /a/f one");
        succeed("write disk:/b/g two");
    }
};

TEST_F(StoragesTest, AcceptsPathsOfAllStoragesInEveryCommand) {
    EXPECT_EQ(succeed("ls / disk:/b"), "/:\na\n\ndisk:/b:\nc\ng\n");
    EXPECT_EQ(succeed("ls disk:"), "b\n");
    EXPECT_EQ(succeed("cat mem:/a/f disk:/b/g"), "one\ntwo\n");
    EXPECT_EQ(succeed("find disk:"), "disk:\ndisk:/b\ndisk:/b/c\ndisk:/b/g\n");
    EXPECT_EQ(succeed("tree disk:/b"), "disk:/b\n├── c\n└── g\n\n2 folders, 1 file\n");
    EXPECT_EQ(succeed("du -s mem:/ disk:/"), "4\tmem:/\n4\tdisk:/\n");
    EXPECT_THAT(succeed("stat disk:/b/g"), HasSubstr("path: disk:/b/g\n"));
    EXPECT_EQ(succeed("head -c 1 disk:/b/g"), "t");
    EXPECT_EQ(succeed("tail -c 2 disk:/b/g"), "o\n");
    EXPECT_EQ(succeed("grep -r t disk:/b"), "disk:/b/g:two\n");
    EXPECT_THAT(succeed("sha256sum disk:/b/g"), HasSubstr("  disk:/b/g\n"));
    succeed("mkdir disk:/new");
    succeed("touch disk:/new/t");
    succeed("chmod -w disk:/new/t");
    succeed("rm -f disk:/new/t");
    succeed("append disk:/b/g more");
    succeed("truncate -s 2 disk:/b/g");
    EXPECT_EQ(succeed("cat disk:/b/g"), "tw");
    succeed("rmdir disk:/new");
    succeed("mv disk:/b/g disk:/h");
    succeed("cp -r disk:/b disk:/d");
    EXPECT_EQ(succeed("ls disk:/"), "b\nd\nh\n");
    EXPECT_EQ(succeed("ls mem:/"), "a\n");
}

TEST_F(StoragesTest, DfHasALineForEachStorage) {
    const std::string both = succeed("df");
    EXPECT_THAT(both, HasSubstr("   Folders Storage\n"));
    EXPECT_THAT(both, HasSubstr("4         1         2 mem\n"));
    EXPECT_THAT(both, HasSubstr("4         1         3 disk\n"));
    EXPECT_THAT(succeed("df disk:/b"), testing::Not(HasSubstr("mem")));
    EXPECT_EQ(fail("df disk:/x"), "qzstorage: df: disk:/x: no such file or folder\n");
}

TEST_F(StoragesTest, DiffComparesFilesOfBoth) {
    EXPECT_EQ(fail("diff /a/f disk:/b/g"),
              "qzstorage: diff: mem:/a/f: differs from disk:/b/g at byte 1, line 1\n");
    succeed("write disk:/b/g one");
    succeed("diff /a/f disk:/b/g");
    providers_[1]->beforeRead = [] { throw SystemError(EIO, StorageIRI(u"/b/g")); };
    EXPECT_EQ(fail("diff /a/f disk:/b/g"), "qzstorage: diff: disk:/b/g: Input/output error\n");
}

TEST_F(StoragesTest, CdChangesTheCurrentStorage) {
    EXPECT_EQ(succeed("pwd"), "mem:/\n");
    succeed("cd disk:/b");
    EXPECT_EQ(succeed("pwd"), "disk:/b\n");
    EXPECT_EQ(succeed("ls"), "c\ng\n");
    EXPECT_EQ(succeed("cat ../b/g /b/g"), "two\ntwo\n");
    succeed("cd");
    EXPECT_EQ(succeed("pwd"), "disk:/\n");
    succeed("cd mem:a");
    EXPECT_EQ(succeed("pwd"), "mem:/a\n");
    EXPECT_EQ(fail("cd disk:/x"), "qzstorage: cd: disk:/x: no such file or folder\n");
    EXPECT_EQ(fail("rm -r /a"),
              "qzstorage: rm: mem:/a: is or contains the current folder; leave it with cd\n");
    succeed("mkdir disk:/a");
    succeed("rm -r disk:/a");
}

TEST_F(StoragesTest, NamesAMissingStorage) {
    const std::string end = "; storages are mem, disk; give a path that contains a colon as ./";
    EXPECT_EQ(fail("ls x:/a"), "qzstorage: ls: x:/a: no storage named 'x'" + end + "x:/a\n");
    EXPECT_EQ(fail("cat :/a"), "qzstorage: cat: :/a: no storage named ''" + end + ":/a\n");
    EXPECT_THAT(fail("ls x:*"), HasSubstr("no storage named 'x'"));
    EXPECT_THAT(fail("mv /a/f x:/a"), HasSubstr("no storage named 'x'"));
    EXPECT_EQ(succeed("cat /a/f"), "one\n");
}

TEST_F(StoragesTest, FindsNamesWithAColonAfterASlash) {
    succeed("write ./disk:x colon");
    succeed("mkdir /mem:");
    EXPECT_EQ(succeed("cat /disk:x ./disk:x mem:/disk:x mem:disk:x"), "colon\ncolon\ncolon\ncolon\n");
    EXPECT_EQ(succeed("ls *:x"), "./disk:x\n");
    EXPECT_EQ(succeed("cat *:x"), "colon\n");
    succeed("touch /mem:/inside");
    EXPECT_EQ(succeed("ls m*:/inside"), "./mem:/inside\n");
    succeed("rm m*:/*");
    succeed("rm *:x");
    EXPECT_EQ(succeed("ls /"), "a\nmem:\n");
}

TEST_F(StoragesTest, ExpandsPatternsInTheSelectedStorage) {
    EXPECT_EQ(succeed("ls disk:/b/*"), "disk:/b/g\n\ndisk:/b/c:\n");
    EXPECT_EQ(succeed("cat disk:b/g*"), "two\n") << "after the prefix, a path begins at the root";
    EXPECT_EQ(succeed("cat */f disk:/*/g"), "one\ntwo\n");
}

TEST_F(StoragesTest, ImportAndExportSelectAStorage) {
    disk_.write("src/f", "content");
    EXPECT_EQ(succeed("import " + disk_ / "src" + " disk:/p"), "imported 1 folder, 1 file, 7 bytes\n");
    EXPECT_EQ(succeed("ls disk:/p"), "f\n");
    disk_.makeFolder("out");
    EXPECT_EQ(succeed("export /a disk:/p " + disk_ / "out"), "exported 2 folders, 2 files, 11 bytes\n");
    EXPECT_EQ(readFile(disk_ / "out/a/f"), "one\n");
    EXPECT_EQ(readFile(disk_ / "out/p/f"), "content");
    EXPECT_EQ(succeed("check disk:/p " + disk_ / "out/p"), "check: 1 folder, 1 file, 7 bytes: equal\n");
}

TEST_F(StoragesTest, CheckComparesTheImportsOfAllStorages) {
    disk_.write("src/f", "content");
    succeed("import " + disk_ / "src" + " /p");
    succeed("import " + disk_ / "src" + " disk:/p");
    EXPECT_EQ(succeed("check"), "check: 2 folders, 2 files, 14 bytes: equal\n");
    succeed("write disk:/p/f changed");
    EXPECT_THAT(fail("check"), HasSubstr("disk:/p/f: "));
}

TEST_F(StoragesTest, NamesTheStorageOfAFailure) {
    providers_[1]->before = [](const char* operation, const StorageIRI& iri) {
        if (std::string(operation) == "listAll") {
            throw SystemError(EIO, iri);
        }
    };
    EXPECT_EQ(fail("ls disk:/b"), "qzstorage: ls: disk:/b: Input/output error\n");
    EXPECT_EQ(fail("cat disk:/b/*"), "qzstorage: cat: disk:/b: Input/output error\n");
    EXPECT_EQ(fail("mkdir disk:/x/y"), "qzstorage: mkdir: disk:/x/y: folder disk:/x does not exist\n");
}

class SingleNamedStorageTest : public SessionTest {
protected:
    SingleNamedStorageTest() : SessionTest({"mem"}) {}
};

TEST_F(SingleNamedStorageTest, AcceptsItsNameButDoesNotShowIt) {
    succeed("mkdir mem:/a");
    succeed("cd mem:/a");
    EXPECT_EQ(succeed("pwd"), "/a\n");
    EXPECT_EQ(fail("cat mem:/x"), "qzstorage: cat: /x: no such file or folder\n");
    EXPECT_THAT(fail("cat x:y"), HasSubstr("no storage named 'x'"));
}

TEST_F(SessionTest, AcceptsColonsInNamesWithoutNamedStorages) {
    succeed("write mem:x colon");
    EXPECT_EQ(succeed("cat mem:x *:?"), "colon\ncolon\n");
    EXPECT_EQ(succeed("ls"), "mem:x\n");
}

} // namespace

} // namespace storage::tests
