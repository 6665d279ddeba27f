#include "tests/host/validate/variants/AllowedVariants.h"
#include "tests/support/ProgramRun.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

class AllowedVariantsTest : public testing::TestWithParam<AllowedVariant> {};

TEST_P(AllowedVariantsTest, KeepEveryRuleForAnyProvider) {
#ifdef QZSTORAGE_SANITIZED
    GTEST_SKIP() << "takes minutes with sanitizers; the other presets run it";
#endif
    // Rules about failed allocations are left out: they take long, and the variants do not differ in them.
    const ProgramRun run(
        {"validate", "--profile", "any", "--jobs", "4", "--except", "14.*", TEST_BROKEN_PLUGIN}, "",
        [] { ::setenv("BROKEN_PLUGIN", GetParam().name, /*replace*/ 1); });
    EXPECT_EQ(run.status(), 0) << run.output() << run.errors();
}

INSTANTIATE_TEST_SUITE_P(, AllowedVariantsTest, testing::ValuesIn(allowedVariants()),
                         [](const auto& variant) { return std::string(variant.param.name); });

} // namespace

} // namespace storage::tests
