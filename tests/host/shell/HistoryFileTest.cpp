#include "host/shell/HistoryFile.h"
#include "host/support/CommandError.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace storage::tests {

namespace {

using host::CommandError;
using host::HistoryFile;
using testing::ElementsAre;
using testing::IsEmpty;

class HistoryFileTest : public testing::Test {
protected:
    static mode_t modeOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_ / "state/qzstorage/history";
    const HistoryFile file_{path_};
};

TEST_F(HistoryFileTest, KeepsLinesInTheOrderInWhichTheyWereAdded) {
    EXPECT_THAT(file_.load(), IsEmpty());
    file_.add("one");
    HistoryFile(path_).add("  two ä ");
    file_.add("one");
    EXPECT_THAT(file_.load(), ElementsAre("one", "  two ä ", "one"));
}

TEST_F(HistoryFileTest, IsForItsOwnerOnly) {
    file_.add("one");
    EXPECT_EQ(modeOf(path_), 0600U);
    EXPECT_EQ(modeOf(folder_ / "state/qzstorage"), 0700U);
}

TEST_F(HistoryFileTest, DropsTheOldestLines) {
    std::string lines;
    for (std::size_t i = 0; i < HistoryFile::kept + 5; ++i) {
        lines += "line " + std::to_string(i) + '\n';
    }
    folder_.write("state/qzstorage/history", lines);
    const auto loaded = file_.load();
    EXPECT_EQ(loaded.size(), HistoryFile::kept);
    EXPECT_EQ(loaded.front(), "line 5");
    EXPECT_EQ(readFile(path_), lines.substr(lines.find("line 5\n")));
    EXPECT_EQ(file_.load(), loaded);
}

TEST_F(HistoryFileTest, ReadsTheEndOfAFileThatIsTooLarge) {
    folder_.write("state/qzstorage/history", std::string(10 << 20, 'x') + "\nlast\n");
    const auto loaded = file_.load();
    ASSERT_EQ(loaded.size(), 2U);
    EXPECT_EQ(loaded.back(), "last");
}

TEST_F(HistoryFileTest, MayBeADeviceThatKeepsNothing) {
    folder_.makeFolder("state/qzstorage");
    std::filesystem::create_symlink("/dev/null", path_);
    file_.add("one");
    EXPECT_THAT(file_.load(), IsEmpty());
    EXPECT_NE(modeOf("/dev/null"), 0600U);
}

TEST_F(HistoryFileTest, ReportsWhyItCannotBeSaved) {
    folder_.write("state", "a file");
    EXPECT_THAT([this] { file_.add("one"); }, testing::ThrowsMessage<CommandError>("Not a directory"));
    std::filesystem::remove(folder_ / "state");
    folder_.makeFolder("state/qzstorage/history");
    EXPECT_THROW(file_.load(), CommandError);
}

} // namespace

} // namespace storage::tests
