#include "tests/support/SessionTest.h"

#include "host/commands/CommandTable.h"
#include "tests/support/SharedProvider.h"

using storage::host::FailureHandling;
using storage::host::OutputKind;

SessionTest::SessionTest()
    : provider_(std::make_shared<HookedProvider>(sharedProvider(TEST_PLUGIN))),
      console_(out_, OutputKind::Plain, err_, OutputKind::Plain),
      session_(*provider_, console_, interruption_),
      shell_(storage::host::commandTable(), session_, interruption_, FailureHandling::AskPerson) {}

SessionTest::ExitStatus SessionTest::run(const std::string& line) {
    out_.str("");
    err_.str("");
    return shell_.execute(line);
}

std::string SessionTest::succeed(const std::string& line) {
    EXPECT_EQ(run(line), ExitStatus::Success) << line;
    EXPECT_EQ(errors(), "") << line;
    return output();
}

std::string SessionTest::fail(const std::string& line) {
    EXPECT_EQ(run(line), ExitStatus::Failure) << line;
    return errors();
}
