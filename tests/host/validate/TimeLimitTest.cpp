#include "host/console/Console.h"
#include "host/plugin/PluginLibrary.h"
#include "host/validate/ValidateRun.h"
#include "host/validate/checks/CheckCatalogue.h"

#include <array>
#include <cstdlib>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sstream>
#include <unistd.h>

namespace storage::tests {

namespace {

using namespace host;
using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;

void hang(CheckContext&) {
    for (;;) {
        ::pause();
    }
}

constexpr std::size_t hangingChecks = 12;

std::span<const CheckGroup> hangs() {
    static const auto checks = [] {
        std::array<Check, hangingChecks> same{};
        same.fill({"1.1", "hangs.always", "It never ends.", Profile::AnyProvider, hang});
        return same;
    }();
    static const std::array groups{CheckGroup{1, "Hangs", checks}};
    return groups;
}

/// Validates plug-ins and checks that hang. The time limits are short; because the plug-in must be loaded
/// within them, the tests double them until they suffice on the machine.
class TimeLimitTest : public testing::Test {
protected:
    ~TimeLimitTest() override { ::unsetenv("BAD_PLUGIN"); }

    static void misbehave(const char* how) { ::setenv("BAD_PLUGIN", how, /*replace*/ 1); }

    /// Returns the report, or the message of the failure.
    std::string validate(std::span<const CheckGroup> catalogue) {
        std::ostringstream out;
        std::ostringstream err;
        Console console(out, OutputKind::Plain, err, OutputKind::Plain);
        try {
            EXPECT_EQ(runValidate(TEST_BAD_PLUGIN, options_, catalogue, console), ExitStatus::Failure);
            return out.str();
        } catch (const PluginError& error) {
            return error.what();
        }
    }

    /// Returns the first result that has `text`.
    std::string validateUntilFound(const std::string& text, std::span<const CheckGroup> catalogue) {
        constexpr milliseconds longest(60'000);
        for (options_.timeLimit = milliseconds(50);; options_.timeLimit *= 2) {
            const std::string result = validate(catalogue);
            if (result.find(text) != std::string::npos || options_.timeLimit > longest) {
                return result;
            }
        }
    }

    /// The words of the report about the limit.
    std::string ending() const {
        return fmt::format("did not end within {:g} s",
                           std::chrono::duration<double>(options_.timeLimit).count());
    }

    ValidateOptions options_;
};

TEST_F(TimeLimitTest, ReportsAPluginThatHangsWhileLoading) {
    misbehave("entry wait");
    const std::string result = validateUntilFound(", in buildProvider_V1", hangs());
    EXPECT_EQ(result, TEST_BAD_PLUGIN ": the process that loaded it " + ending() + ", in buildProvider_V1");
}

TEST_F(TimeLimitTest, NamesTheOperationThatHangs) {
    misbehave("openReadOnlyStream wait");
    options_.only = {"8.1"};
    const std::string operation = ", in doOpenReadOnlyStream of /qzstorage-validate-";
    const std::string result = validateUntilFound(operation, checkCatalogue());
    EXPECT_THAT(result, HasSubstr("\n   HUNG 8.1 "));
    EXPECT_THAT(result, HasSubstr("\n      " + ending() + operation));
    EXPECT_THAT(result, EndsWith("\n1 rule: 1 hung\n"));
}

TEST_F(TimeLimitTest, EndsTheRunAfterTenHangs) {
    options_.jobs = hangingChecks;
    EXPECT_THAT(validateUntilFound("rules: ", hangs()),
                HasSubstr("\n12 rules: 10 hung, 2 skipped; stopped after 10 hangs: 2 rules not checked\n"));
}

TEST_F(TimeLimitTest, EndsTheRunAtTheRunLimit) {
    options_.runLimit = milliseconds(50);
    EXPECT_THAT(validate(hangs()),
                HasSubstr("\n12 rules: 1 hung, 11 skipped; stopped after 0.05 s (limit of --run-timeout): "
                          "11 rules not checked\n"));
}

} // namespace

} // namespace storage::tests
