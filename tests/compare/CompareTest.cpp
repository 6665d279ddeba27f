#include "tests/compare/CallGenerator.h"
#include "tests/compare/CallKind.h"
#include "tests/compare/Comparison.h"
#include "tests/compare/Shrinking.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <optional>
#include <set>
#include <sys/mount.h>
#include <unistd.h>

namespace syscalls {
namespace {

using testing::ElementsAre;

TEST(CompareTest, GivesEachKindItsOwnName) {
    std::set<std::string_view> names;
    for (const CallKind& kind : allKinds()) {
        names.insert(kind.name);
    }
    EXPECT_EQ(names.size(), allKinds().size());
    EXPECT_GE(names.size(), 60U);
}

TEST(CompareTest, WritesACallAsALineAndParsesIt) {
    Call call{.user = 1,
              .kind = "rename",
              .numbers = {1, -2, 1LL << 62},
              .first = "a \"b\"\n\xFF\\x",
              .second = {}};
    EXPECT_EQ(fromLine(toLine(call)), call);
    EXPECT_EQ(toLine(call), R"(1 rename 1 -2 4611686018427387904 0 0 0 "a \x22b\x22\x0A\xFF\x5Cx" "")");
    EXPECT_THROW(fromLine("1 rename 1"), std::runtime_error);
}

TEST(CompareTest, WritesAnOutcomeAsTextAndParsesIt) {
    const Exclusions exclusions;
    OutcomeBuilder builder(exclusions);
    builder.result(5);
    builder.addAt(" of \"a\"", "mode", "100644");
    builder.add("folder.size", "4096"); // excluded from the comparison
    const Outcome outcome = builder.take();
    EXPECT_EQ(outcomeOf(toText(outcome)), outcome);
    EXPECT_EQ(outcome.fields.size(), 2U);
    EXPECT_TRUE(outcome.succeeded());
    errno = ENOENT;
    OutcomeBuilder failing(exclusions);
    failing.result(-1);
    EXPECT_FALSE(failing.take().succeeded());
}

TEST(CompareTest, GeneratesTheSameCallsFromTheSameSeed) {
    const Exclusions exclusions;
    CallGenerator one(7, exclusions);
    CallGenerator other(7, exclusions);
    std::set<std::string> kinds;
    for (int i = 0; i < 5000; ++i) {
        const Call call = one.next();
        ASSERT_EQ(other.next(), call);
        one.noteSuccess(call);
        other.noteSuccess(call);
        kinds.insert(call.kind);
    }
    EXPECT_EQ(kinds.size(), allKinds().size() - 2)
        << "all except the final tree and the permanently excluded kind";
}

TEST(CompareTest, GeneratesNoExcludedCalls) {
    Exclusions exclusions;
    exclusions.add("mkdir");
    CallGenerator generator(7, exclusions);
    for (int i = 0; i < 5000; ++i) {
        ASSERT_NE(generator.next().kind, "mkdir");
    }
}

TEST(CompareTest, UpdatesTheSketchAfterMoves) {
    TreeSketch sketch;
    sketch.make("a", TreeSketch::Kind::Folder);
    sketch.make("a/b", TreeSketch::Kind::File);
    sketch.make("ab", TreeSketch::Kind::Link);
    sketch.move("a", "c");
    EXPECT_THAT(sketch.paths(), ElementsAre("ab", "c", "c/b"));
    sketch.exchange("c/b", "ab");
    EXPECT_THAT(sketch.paths(TreeSketch::Kind::File), ElementsAre("ab"));
    EXPECT_THAT(sketch.paths(TreeSketch::Kind::Link), ElementsAre("c/b"));
    sketch.link("ab", "d");
    sketch.remove("ab");
    EXPECT_THAT(sketch.paths(TreeSketch::Kind::File), ElementsAre("d"));
}

TEST(CompareTest, ShrinksASequenceToTheRelevantCalls) {
    Calls calls;
    for (int i = 0; i < 1000; ++i) {
        calls.push_back({.kind = std::to_string(i)});
    }
    const auto has = [](const Calls& sequence, const char* kind) {
        return std::ranges::find(sequence, kind, &Call::kind) != sequence.end();
    };
    const Calls few = shrunk(
        calls,
        [&](const Calls& sequence) {
            return has(sequence, "17") && has(sequence, "503") && has(sequence, "999");
        },
        1000);
    std::vector<std::string> kinds;
    std::ranges::transform(few, std::back_inserter(kinds), &Call::kind);
    EXPECT_THAT(kinds, ElementsAre("17", "503", "999"));
}

/// Compares two tmpfs with different mount options.
class ComparedMountsTest : public testing::Test {
protected:
    void mountTested(unsigned long flags) {
        isMounted_ =
            ::mount("none", roots_.reference.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, nullptr) == 0 &&
            ::mount("none", roots_.tested.c_str(), "tmpfs", MS_NOSUID | MS_NODEV | flags, nullptr) == 0;
    }

    void TearDown() override {
        ::umount2(roots_.reference.c_str(), MNT_DETACH);
        ::umount2(roots_.tested.c_str(), MNT_DETACH);
    }

    TemporaryFolder disk_;
    const Lockstep::Roots roots_{disk_.makeFolder("reference"), disk_.makeFolder("tested")};
    bool isMounted_ = false;
};

TEST_F(ComparedMountsTest, FindsNoDifferenceBetweenEqualFileSystems) {
    mountTested(0);
    if (!isMounted_) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    const Exclusions exclusions;
    Comparison comparison(roots_, exclusions);
    const auto seed = std::random_device()();
    const auto difference = comparison.tryRandomly(seed, 3000);
    EXPECT_FALSE(difference) << "seed " << seed << ": " << difference->signature();
    EXPECT_EQ(comparison.totals().calls, 3001U);
    EXPECT_GT(comparison.totals().succeeded, 300U); // about a third succeeds, fewer with some seeds
}

TEST_F(ComparedMountsTest, FailsIfBothProcessesExit) {
    mountTested(0);
    if (!isMounted_) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    const Exclusions exclusions;
    Lockstep lockstep(roots_, exclusions);
    EXPECT_THROW(lockstep.make({Call{.kind = "no call of this name"}}), WorkerProcess::Failure);
}

TEST_F(ComparedMountsTest, FindsADifferenceAndReducesItToAFewCalls) {
    mountTested(MS_NOSYMFOLLOW);
    if (!isMounted_) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    const Exclusions exclusions;
    Comparison comparison(roots_, exclusions);
    std::optional<Difference> difference;
    for (unsigned seed = 1; !difference || difference->calls.size() <= 20; ++seed) {
        difference = comparison.tryRandomly(seed, 300); // the calls of a seed depend on the compiler
    }
    const Difference smallest = comparison.shrink(*difference);
    EXPECT_EQ(smallest.signature(), difference->signature());
    EXPECT_LE(smallest.calls.size(), 8U);
}

} // namespace
} // namespace syscalls
