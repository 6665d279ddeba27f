// Compares random sequences of required operations with the reference model.
//
// A failure prints the shortest sequence that still fails, its seed, and in its last line how to repeat it:
//   RC_PARAMS="reproduce=..." model_tests
// RC_PARAMS="seed=..." repeats a whole run. RC_PARAMS="max_success=5000" runs more sequences per test than
// the default of 100.

#include "hostapi/storage/provider/ProviderOperations.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/model/LockstepRun.h"
#include "tests/model/OperationGenerator.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <sstream>
#include <string_view>

namespace storage::inmemoryprovider::tests {

namespace {

void agreesOn(Mix mix) {
    const auto operations = *sequencesRichIn(mix);
    OutcomeTally tally;
    if (const auto disagreement = LockstepRun(tally).run(operations)) {
        RC_FAIL(*disagreement);
    }
}

RC_GTEST_PROP(ProviderAndModelTest, AgreeOnEverydaySequences, ()) {
    agreesOn(Mix::Everyday);
}

RC_GTEST_PROP(ProviderAndModelTest, AgreeOnSequencesRichInMoves, ()) {
    agreesOn(Mix::Moves);
}

RC_GTEST_PROP(ProviderAndModelTest, AgreeOnSequencesRichInReadingAndWriting, ()) {
    agreesOn(Mix::Content);
}

RC_GTEST_PROP(ProviderAndModelTest, AgreeOnSequencesRichInUnusualPaths, ()) {
    agreesOn(Mix::WeirdPaths);
}

/// An outcome that depends on earlier operations of its sequence. The test requires each of these outcomes,
/// so the sequences must prepare them.
struct DeepEnding {
    const char* operation;
    const char* outcome;
};

constexpr auto deepEndings = std::to_array<DeepEnding>({
    {"doRemoveFile", "code 2"},
    {"doRemoveFolder", "code 0"},
    {"doRemoveFolder", "code 2"},
    {"doOpenStream", "code 2"},
    {"doOpenStream", "code 3"},
    {"doOpenStream", "created the file"},
    {"doMoveFile", "code 2"},
    {"doMoveFile", "code 3"},
    {"doMoveFile", "replaced its target"},
    {"doMoveFile", "replaced a file that was open"},
    {"doMoveFile", "failed after removing its target, code 2"},
    {"doMoveFile", "failed after removing its target, code 4"},
    {"doMoveFolder", "code 2"},
    {"doMoveFolder", "code 3"},
    {"doMoveFolder", "replaced its target"},
    {"doMoveFolder", "moved more than two entries"},
    {"doMoveFolder", "failed after removing its target, code 2"},
    {"doMoveFolder", "stopped midway, code 2"},
    {"doMoveFolder", "stopped midway, code 3"},
    {"doMoveFolder", "stopped midway, code 4"},
    {"stream read", "the file had been removed"},
    {"stream read", "from a position past the end"},
    {"stream write", "the file had been removed"},
    {"stream write", "from a position past the end"},
    {"listing step", "the folder had changed"},
    {"listing clone", "after some entries"},
});

TEST(ProviderAndModelTest, ReachEveryDeepOutcome) {
    constexpr std::uint64_t sequencesPerMix = 15;
    OutcomeTally tally;
    for (const Mix mix : {Mix::Everyday, Mix::Moves, Mix::Content, Mix::WeirdPaths}) {
        for (std::uint64_t seed = 1; seed <= sequencesPerMix; ++seed) {
            const auto operations = sequencesRichIn(mix)(rc::Random(seed)).value();
            const auto disagreement = LockstepRun(tally).run(operations);
            ASSERT_FALSE(disagreement.has_value()) << *disagreement;
        }
    }
    std::ostringstream counts;
    tally.print(counts);
    for (const auto& ending : deepEndings) {
        EXPECT_GT(tally.of(ending.operation, ending.outcome), 0U)
            << ending.operation << ": " << ending.outcome << "\n"
            << counts.str();
    }
}

TEST(ProviderAndModelTest, CoverEveryRequiredOperation) {
    using provider::ProviderOperation;
    for (const auto& [name, kind] : provider::providerOperations) {
        const bool isTried = std::find(operationNames.begin(), operationNames.end(),
                                       std::string_view(name)) != operationNames.end();
        EXPECT_TRUE(isTried || kind == ProviderOperation::Kind::Optional) << name;
    }
}

} // namespace

} // namespace storage::inmemoryprovider::tests
