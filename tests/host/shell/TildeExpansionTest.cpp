#include "host/commands/CommandTable.h"
#include "host/shell/Completer.h"
#include "tests/support/SessionTest.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

/// A home folder with a file and a folder.
class TildeExpansionTest : public SessionTest {
protected:
    TildeExpansionTest() {
        disk_.write("home*/file", "content");
        disk_.write("home*/folder/f", "");
        ::setenv("HOME", (disk_ / "home*").c_str(), 1);
    }
    ~TildeExpansionTest() override { ::setenv("HOME", before_.c_str(), 1); }

    /// Returns the line after completion.
    std::string completed(const std::string& line) const {
        return line + host::Completer(host::commandTable(), session_).complete(line).insertion;
    }

private:
    const std::string before_ = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
};

TEST_F(TildeExpansionTest, FindsTheHomeFolderOnDisk) {
    EXPECT_EQ(succeed("lls ~"), "file\nfolder\n");
    EXPECT_EQ(succeed("lls ~/folder"), "f\n");
    EXPECT_EQ(succeed("lls ~/fi*"), disk_ / "home*/file" + "\n");
    succeed("import ~/file /");
    EXPECT_EQ(succeed("cat /file"), "content");
}

TEST_F(TildeExpansionTest, KeepsATildeThatIsQuotedOrPartOfAName) {
    for (const std::string word : {"'~'", "\\~/folder", "~nobody", "./~", "x~"}) {
        EXPECT_THAT(fail("lls " + word), testing::HasSubstr("No such file")) << word;
    }
    succeed("mkdir ~"); // a path of the storage
    EXPECT_EQ(succeed("ls /"), "~/\n");
}

TEST_F(TildeExpansionTest, IsFollowedByCompletion) {
    EXPECT_EQ(completed("import ~/fo"), "import ~/folder/");
    EXPECT_EQ(completed("import ~"), "import ~/");
    disk_.write("home*/a~", "");
    EXPECT_EQ(completed("import ~/a"), "import ~/a\\~ ");
}

} // namespace

} // namespace storage::tests
