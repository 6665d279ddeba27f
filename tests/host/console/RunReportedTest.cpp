#include "host/console/RunReported.h"
#include "host/console/DescriptorOutput.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <new>
#include <sstream>
#include <string>

namespace storage::tests {

namespace {

using namespace host;

class RunReportedTest : public testing::Test {
protected:
    /// Expects this status and message for an exception.
    template <class Thrown>
    void expectReported(const Thrown& thrown, ExitStatus status, const std::string& message) {
        err_.str("");
        EXPECT_EQ(runReported(console_, [&]() -> ExitStatus { throw thrown; }), status);
        EXPECT_EQ(err_.str(), "qzstorage: task: " + message + '\n');
    }

    std::ostringstream out_;
    std::ostringstream err_;
    Console console_{out_, OutputKind::Plain, err_, OutputKind::Plain};
};

TEST_F(RunReportedTest, ReturnsTheStatusOfTheTask) {
    for (const ExitStatus status : {ExitStatus::Success, ExitStatus::Failure, ExitStatus::Usage}) {
        EXPECT_EQ(runReported(console_, [&] { return status; }), status);
    }
    EXPECT_EQ(err_.str(), "");
}

TEST_F(RunReportedTest, ReportsEachExceptionWithItsStatus) {
    console_.beginCommand("task");
    expectReported(Interrupted(), ExitStatus::Interrupted, "interrupted");
    expectReported(UsageError("what?"), ExitStatus::Usage, "what?");
    expectReported(CommandError("/f", "not a folder"), ExitStatus::Failure, "/f: not a folder");
    expectReported(std::bad_alloc(), ExitStatus::Failure, "out of memory");
    expectReported(std::system_error(ENOSPC, std::generic_category(), "write"), ExitStatus::Failure,
                   "No space left on device");
    expectReported(std::runtime_error("torn"), ExitStatus::Failure, "torn");
    expectReported(42, ExitStatus::Failure, "an exception of type int");
}

TEST_F(RunReportedTest, ClearsTheOutputAfterAnInterruption) {
    runReported(console_, [&]() -> ExitStatus {
        console_.out().setstate(std::ios_base::badbit);
        throw Interrupted();
    });
    EXPECT_TRUE(console_.out().good());
}

TEST_F(RunReportedTest, PassesOnAnOutputError) {
    EXPECT_THROW(runReported(console_, []() -> ExitStatus { throw OutputError(ENOSPC); }), OutputError);
    EXPECT_EQ(err_.str(), "");
}

} // namespace

} // namespace storage::tests
