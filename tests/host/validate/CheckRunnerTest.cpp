#include "host/validate/CheckRunner.h"

#include "host/plugin/PluginLibrary.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/ExpectVerdict.h"
#include "tests/support/LoadedPlugin.h"

#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using namespace host;
using Result = CheckOutcome::Result;
using provider::ErrorCode;
using provider::Exception;
using provider::StorageIRI;
using testing::HasSubstr;
using testing::ThrowsMessage;

using Body = void (*)(CheckContext&);

CheckOutcome outcomeOf(Body body, Profile profile = Profile::AnyProvider, std::uint64_t seed = 1) {
    const CheckRunner runner{TEST_PLUGIN, profile, seed, std::chrono::seconds(60)};
    return runner.run({"1.1", "some.rule", "Some rule.", Profile::AnyProvider, body});
}

TEST(CheckRunnerTest, ReportsTheResultOfACheck) {
    expectVerdict(
        outcomeOf([](CheckContext& context) { makeFile(context.provider(), context.at(u"f"), "x"); }),
        Result::Pass, "");
    expectVerdict(outcomeOf([](CheckContext&) { expect(false, "it is not so"); }), Result::Fail,
                  "it is not so");
    expectVerdict(outcomeOf([](CheckContext&) { skip("not here"); }), Result::Skip, "not here");
}

TEST(CheckRunnerTest, ReportsAnyOtherExceptionAsAFailure) {
    expectVerdict(
        outcomeOf([](CheckContext& context) { context.provider().doRemoveFile(StorageIRI(u"/missing")); }),
        Result::Fail,
        "unexpected failure: /missing: not found: an entry of the required kind, or the folder that would "
        "hold it");
    expectVerdict(outcomeOf([](CheckContext&) { throw std::bad_alloc(); }), Result::Fail,
                  "unexpected failure: out of memory");
    expectVerdict(outcomeOf([](CheckContext&) { throw 5; }), Result::Fail,
                  "unexpected failure: an exception of type int");
}

TEST(CheckRunnerTest, PassesProfileAndSeedToTheCheck) {
    const Body skipWithProfileAndSeed = [](CheckContext& context) {
        skip((context.isInMemoryProvider() ? "in memory " : "any ") + std::to_string(context.random()()));
    };
    const std::string first = outcomeOf(skipWithProfileAndSeed, Profile::InMemoryProvider, 7).reason;
    EXPECT_THAT(first, HasSubstr("in memory"));
    EXPECT_EQ(outcomeOf(skipWithProfileAndSeed, Profile::InMemoryProvider, 7).reason, first);
    EXPECT_NE(outcomeOf(skipWithProfileAndSeed, Profile::InMemoryProvider, 8).reason, first);
    EXPECT_THAT(outcomeOf(skipWithProfileAndSeed).reason, HasSubstr("any"));
}

TEST(CheckRunnerTest, AcceptsAPluginThatReturnsAProvider) {
    const CheckRunner runner{TEST_PLUGIN, Profile::AnyProvider, 1, std::chrono::seconds(60)};
    EXPECT_NO_THROW(runner.requireProvider());
}

TEST(CheckRunnerTest, RejectsAPluginThatCannotBeLoaded) {
    const CheckRunner runner{"/missing.so", Profile::AnyProvider, 1, std::chrono::seconds(60)};
    EXPECT_THAT([&] { runner.requireProvider(); },
                ThrowsMessage<PluginError>("/missing.so: No such file or directory"));
}

TEST(CheckRunnerTest, LoadsThePluginOnlyInChildProcesses) {
    const CheckRunner runner{TEST_BAD_PLUGIN, Profile::AnyProvider, 1, std::chrono::seconds(60)};
    runner.requireProvider();
    expectVerdict(
        runner.run({"1.1", "some.rule", "Some rule.", Profile::AnyProvider,
                    [](CheckContext&) { expect(pluginIsLoaded(TEST_BAD_PLUGIN), "it is not loaded"); }}),
        Result::Pass, "");
    EXPECT_FALSE(pluginIsLoaded(TEST_BAD_PLUGIN));
}

} // namespace

} // namespace storage::tests
