#include "host/console/Console.h"
#include "host/console/DescriptorOutput.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/SystemError.h"

#include <gtest/gtest.h>
#include <new>
#include <sstream>
#include <string>

namespace storage::tests {

namespace {

using namespace host;
using provider::ErrorCode;
using provider::Exception;
using provider::StorageIRI;
using provider::SystemError;

class ConsoleTest : public testing::Test {
protected:
    ConsoleTest() { console_.beginCommand("ls"); }

    std::ostringstream both_; ///< output and errors in order
    Console console_{both_, OutputKind::Plain, both_, OutputKind::Plain};
};

TEST_F(ConsoleTest, ReportsCommandPathAndReason) {
    console_.report({"/a", "gone"});
    EXPECT_EQ(both_.str(), "qzstorage: ls: /a: gone\n");
    EXPECT_EQ(console_.failuresOfCommand(), 1U);
}

TEST_F(ConsoleTest, LeavesOutEmptyParts) {
    console_.report({"", "gone"});
    console_.beginCommand("");
    console_.report({"", "lost"});
    EXPECT_EQ(both_.str(), "qzstorage: ls: gone\nqzstorage: lost\n");
}

TEST_F(ConsoleTest, EscapesControlCharactersInFailures) {
    console_.report({"/a\n\xFF", "torn\x1B[0m"});
    EXPECT_EQ(both_.str(), "qzstorage: ls: /a\\n\\xFF: torn\\x1B[0m\n");
}

TEST_F(ConsoleTest, DoesNotCountNoticesAsFailures) {
    console_.notice("/a", "skipped");
    EXPECT_EQ(both_.str(), "qzstorage: ls: /a: skipped\n");
    EXPECT_EQ(console_.failuresOfCommand(), 0U);
}

TEST_F(ConsoleTest, ResetsTheFailureCountForANewCommand) {
    console_.report({"/a", "gone"});
    console_.beginCommand("cat");
    EXPECT_EQ(console_.failuresOfCommand(), 0U);
}

TEST_F(ConsoleTest, ReportsEachExceptionInOneLine) {
    console_.attempt("/p", [] { throw CommandError("/q", "odd"); });
    console_.attempt("/p", [] { throw Exception(ErrorCode::FolderNotEmpty, StorageIRI(u"/x")); });
    console_.attempt("/p", [] { throw SystemError(EIO, StorageIRI(u"/y")); });
    console_.attempt("/p", [] { throw std::bad_alloc(); });
    console_.attempt("/p", [] { throw std::runtime_error("broken"); });
    console_.attempt("/p", [] { throw std::system_error(ENOSPC, std::generic_category()); });
    console_.attempt("/p", [] { throw 42; });
    EXPECT_EQ(both_.str(), "qzstorage: ls: /q: odd\n"
                           "qzstorage: ls: /x: folder is not empty\n"
                           "qzstorage: ls: /y: Input/output error\n"
                           "qzstorage: ls: /p: out of memory\n"
                           "qzstorage: ls: /p: broken\n"
                           "qzstorage: ls: /p: No space left on device\n"
                           "qzstorage: ls: /p: an exception of type int\n");
    EXPECT_EQ(console_.failuresOfCommand(), 7U);
}

TEST_F(ConsoleTest, UsesTheDiagnosisForStorageFailures) {
    console_.setDiagnosis({[](const Exception& error) {
                               return "diagnosed " + std::to_string(static_cast<int>(error.getErrorCode()));
                           },
                           "disk:"});
    console_.attempt("/p", [] { throw Exception(ErrorCode::NotFound, StorageIRI(u"/x")); });
    console_.attempt("/p", [] { throw SystemError(EIO, StorageIRI(u"/y")); });
    console_.attempt("/p", [] { throw std::runtime_error("broken"); });
    EXPECT_EQ(both_.str(), "qzstorage: ls: disk:/x: diagnosed 4\n"
                           "qzstorage: ls: disk:/y: Input/output error\n"
                           "qzstorage: ls: /p: broken\n");
}

TEST_F(ConsoleTest, PassesOnExceptionsThatEndTheCommand) {
    EXPECT_THROW(console_.attempt("", [] { throw Interrupted(); }), Interrupted);
    EXPECT_THROW(console_.attempt("", [] { throw OutputError(EPIPE); }), OutputError);
    EXPECT_THROW(console_.attempt("", [] { throw UsageError("what?"); }), UsageError);
    EXPECT_EQ(both_.str(), "");
}

TEST(ConsoleShownTest, EscapesNamesOnlyForATerminal) {
    std::ostringstream out;
    const Console plain(out, OutputKind::Plain, out, OutputKind::Plain);
    const Console terminal(out, OutputKind::Terminal, out, OutputKind::Plain);
    EXPECT_EQ(plain.shown(u"ä\nb"), "ä\nb");
    EXPECT_EQ(terminal.shown(u"ä\nb"), "ä\\nb");
    EXPECT_EQ(plain.shown(u"a\x202E"), "a\u202E");
    EXPECT_EQ(terminal.shown(u"a\x202E"), "a\\u202E");
    EXPECT_EQ(plain.shown(u"a\xD800"), "a\\uD800");
}

} // namespace

} // namespace storage::tests
