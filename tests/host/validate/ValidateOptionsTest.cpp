#include "host/validate/ValidateOptions.h"

#include "tests/support/MadeUpChecks.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using namespace host;
using testing::EndsWith;

TEST(ValidateOptionsTest, ReplayCommandContainsAllThatACheckDependsOn) {
    const Check& check = madeUpChecks()[0].checks[1];
    ValidateOptions options;
    options.seed = 18446744073709551615U;
    EXPECT_EQ(options.replayCommand(check),
              "qzstorage validate --profile any --seed 18446744073709551615 --only 1.2");
    options.profile = Profile::InMemoryProvider;
    options.timeLimit = std::chrono::seconds(5);
    options.plugin = "./lib x's.so";
    EXPECT_EQ(options.replayCommand(check),
              "qzstorage validate --profile in-memory --seed 18446744073709551615 --timeout 5 --only 1.2 "
              "'./lib x'\\''s.so'");
    options.plugin = "x\n'\xFF.so";
    EXPECT_THAT(options.replayCommand(check), EndsWith(" $'x\\x0a\\x27\\xff.so'"));
    options.plugin = "-x.so";
    EXPECT_THAT(options.replayCommand(check), EndsWith(" ./-x.so"));
}

} // namespace

} // namespace storage::tests
