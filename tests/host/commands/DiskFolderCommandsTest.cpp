#include "tests/support/SessionTest.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

/// lcd, lpwd, lls, put, get.
class DiskFolderCommandsTest : public SessionTest {
protected:
    DiskFolderCommandsTest() {
        disk_.write("src/b", "2");
        disk_.write("src/a/f", "1");
        disk_.write("out/x", "");
    }
    ~DiskFolderCommandsTest() override { std::filesystem::current_path(before_); }

    std::filesystem::path before_ = std::filesystem::current_path();
};

TEST_F(DiskFolderCommandsTest, LcdChangesTheCurrentFolderOnDisk) {
    EXPECT_EQ(succeed("lpwd"), before_.string() + "\n");
    succeed("lcd " + disk_ / "s*");
    EXPECT_EQ(succeed("lpwd"), disk_ / "src" + "\n");
    EXPECT_EQ(succeed("import b /"), "imported 0 folders, 1 file, 1 byte\n");
    succeed("lcd ../out");
    succeed("export /b .");
    EXPECT_EQ(namesIn(disk_ / "out"), "b x");
    EXPECT_EQ(succeed("check"), "check: 0 folders, 1 file, 1 byte: equal\n") << "an import is found again";
    EXPECT_EQ(fail("lcd nowhere"), "qzstorage: lcd: nowhere: No such file or directory\n");
    EXPECT_EQ(fail("lcd ''"), "qzstorage: lcd: '': empty path\n");
    EXPECT_EQ(fail("lcd x"), "qzstorage: lcd: x: Not a directory\n");
}

TEST_F(DiskFolderCommandsTest, LlsListsTheDisk) {
    succeed("lcd " + disk_.path());
    EXPECT_EQ(succeed("lls"), "out\nsrc\n");
    EXPECT_EQ(succeed("lls src/*"), "src/a:\nf\nsrc/b\n");
    EXPECT_EQ(fail("lls nowhere out"), "qzstorage: lls: nowhere: No such file or directory\n");
    EXPECT_EQ(output(), "out:\nx\n");
}

TEST_F(DiskFolderCommandsTest, PrintsTheBytesOfNamesOnDisk) {
    disk_.write("odd/\xFF\n", "");
    EXPECT_EQ(succeed("lls " + disk_ / "odd"), "\xFF\n\n");
}

TEST_F(DiskFolderCommandsTest, PutImportsAndGetExports) {
    EXPECT_EQ(succeed("put " + disk_ / "src/b" + " /c"), "imported 0 folders, 1 file, 1 byte\n");
    EXPECT_EQ(succeed("get /c " + disk_ / "out"), "exported 0 folders, 1 file, 1 byte\n");
    EXPECT_EQ(readFile(disk_ / "out/c"), "2");
}

} // namespace

} // namespace storage::tests
