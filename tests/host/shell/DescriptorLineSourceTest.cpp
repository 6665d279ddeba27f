#include "host/shell/DescriptorLineSource.h"
#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "tests/support/DefaultSignals.h"
#include "tests/support/TemporaryFolder.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace storage::tests {

namespace {

using namespace host;
using testing::ElementsAre;
using testing::IsEmpty;
using Places = DescriptorLineSource::Places;

class DescriptorLineSourceTest : public testing::Test {
protected:
    std::vector<std::string> linesOf(const std::string& content) {
        const FileDescriptor file(folder_.write("script", content), O_RDONLY);
        DescriptorLineSource lines(file.number(), "script", Places::Hidden);
        std::vector<std::string> result;
        while (auto line = lines.next()) {
            result.push_back(*line);
        }
        return result;
    }

    TemporaryFolder folder_;
    DefaultSignals defaultSignals_;
    Interruption interruption_;
};

TEST_F(DescriptorLineSourceTest, ReturnsEachLineWithoutItsNewline) {
    EXPECT_THAT(linesOf("a\n\nb c\n"), ElementsAre("a", "", "b c"));
}

TEST_F(DescriptorLineSourceTest, ReturnsALastLineWithoutNewline) {
    EXPECT_THAT(linesOf("a\nb"), ElementsAre("a", "b"));
}

TEST_F(DescriptorLineSourceTest, RemovesByteOrderMarksAndCarriageReturns) {
    EXPECT_THAT(linesOf("\xEF\xBB\xBF"
                        "a\r\n\r\nb\rc\r\r\n\xEF\xBB\xBF"
                        "d\r\n"),
                ElementsAre("a", "", "b\rc\r",
                            "\xEF\xBB\xBF"
                            "d"));
    EXPECT_THAT(linesOf("\xEF\xBB\xBF"
                        "a"),
                ElementsAre("a"));
    EXPECT_THAT(linesOf(std::string(65535, 'x') + "\r\ny\r\n"), ElementsAre(std::string(65535, 'x'), "y"));
}

TEST_F(DescriptorLineSourceTest, ReturnsNothingForAnEmptyFile) {
    EXPECT_THAT(linesOf(""), IsEmpty());
}

TEST_F(DescriptorLineSourceTest, ReturnsLinesLongerThanItsBuffer) {
    const std::string longLine(3 << 20, 'x');
    EXPECT_THAT(linesOf(longLine + "\nb\n"), ElementsAre(longLine, "b"));
}

TEST_F(DescriptorLineSourceTest, RefusesALineOfMoreThanFourMebibytes) {
    const std::string longest(4 << 20, 'x');
    EXPECT_THAT(linesOf(longest + "\n" + longest), ElementsAre(longest, longest));
    try {
        linesOf("a\n" + longest + "x\nb\n");
        FAIL() << "nothing was thrown";
    } catch (const CommandError& error) {
        EXPECT_EQ(error.path(), "script");
        EXPECT_STREQ(error.what(), "line 2 has more than 4194304 bytes; this is not a script");
    }
}

TEST_F(DescriptorLineSourceTest, ReturnsALineOfAPipeBeforeThePipeEnds) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "a\nb", 3), 3);
    DescriptorLineSource lines(ends[0], "pipe", Places::Hidden);
    EXPECT_EQ(lines.next(), "a");
    ::close(ends[1]);
    EXPECT_EQ(lines.next(), "b");
    ::close(ends[0]);
}

TEST_F(DescriptorLineSourceTest, NamesAnUnreadableFile) {
    const FileDescriptor folder(folder_.path(), O_RDONLY);
    DescriptorLineSource lines(folder.number(), "my script", Places::Hidden);
    try {
        lines.next();
        FAIL() << "nothing was thrown";
    } catch (const CommandError& error) {
        EXPECT_EQ(error.path(), "my script");
        EXPECT_STREQ(error.what(), "Is a directory");
    }
}

TEST_F(DescriptorLineSourceTest, ReturnsThePlaceOfTheLastLine) {
    const FileDescriptor file(folder_.write("script", "a\n\nb"), O_RDONLY);
    DescriptorLineSource shown(file.number(), "my script", Places::Shown);
    shown.next();
    EXPECT_EQ(shown.place(), "my script:1");
    shown.next();
    shown.next();
    EXPECT_EQ(shown.place(), "my script:3");
    DescriptorLineSource hidden(file.number(), "my script", Places::Hidden);
    hidden.next();
    EXPECT_EQ(hidden.place(), "");
}

TEST_F(DescriptorLineSourceTest, StopsWhenInterrupted) {
    DescriptorLineSource lines(STDIN_FILENO, "input", Places::Hidden);
    std::raise(SIGINT);
    EXPECT_THROW(lines.next(), Interrupted);
}

} // namespace

} // namespace storage::tests
