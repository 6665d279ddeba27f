#include "tests/memory/Sweep.h"

#include "tests/memory/ChildOutcome.h"
#include "tests/memory/SharedCounter.h"
#include "tests/memory/TrialTally.h"

#include "hostapi/storage/provider/Exception.h"

#include <cstddef>
#include <new>

namespace storage::tests {

using foundation::storage::provider::Exception;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;
using Extent = FailingAllocation::Extent;

namespace {

/// A tree of its own, and the operation ready to be called on it.
struct Trial {
    Trial(const TreeShape& shape, const Operation& operation) : provider(build(shape)) {
        prepare(shape, operation);
    }

    /// Makes the operation ready once more.
    void prepare(const TreeShape& shape, const Operation& operation) {
        attempt = operation.prepare(*provider, shape);
        age(*provider, shape);
    }

    TreeSnapshot snapshot() const { return takeSnapshot(*provider); }

    std::shared_ptr<IProvider> provider;
    Attempt attempt;
};

/// The tree before and after the operation on an untouched tree, and what it gave.
struct Expectation {
    TreeSnapshot before;
    TreeSnapshot after;
    std::string result;

    bool changesNothing() const { return after == before; }
};

Expectation expectationOf(const TreeShape& shape, const Operation& operation) {
    const Trial trial(shape, operation);
    Expectation expected{trial.snapshot(), {}, {}};
    try {
        trial.attempt.run();
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.getErrorCode(), operation.refusal) << failure.what();
    }
    expected.after = trial.snapshot();
    if (!operation.refusal) {
        expected.result = trial.attempt.result();
    }
    return expected;
}

/// What came of a call for which memory may run out.
enum class Outcome {
    Succeeded, ///< no allocation failed
    Survived,  ///< one failed, but it was not needed
    RanOut,
};

Outcome call(const Attempt& attempt, std::size_t allowed, Extent extent) {
    const FailingAllocation failure(allowed, extent);
    try {
        attempt.run();
    } catch (const std::bad_alloc&) {
        EXPECT_TRUE(failure.happened());
        return Outcome::RanOut;
    }
    return failure.happened() ? Outcome::Survived : Outcome::Succeeded;
}

void expectGuaranteed(const Trial& trial, const TreeShape& shape, const Operation& operation,
                      const Expectation& expected, Extent extent) {
    const auto now = trial.snapshot();
    operation.guarantee(shape, {expected.before, now, expected.after, extent});
    EXPECT_TRUE(hasNoStrayFolder(*trial.provider, now, expected.before));
    EXPECT_TRUE(hasNoStrayFolder(*trial.provider, now, expected.after));
}

void finish(const Trial& trial, const Expectation& expected) {
    if (trial.attempt.finish) {
        trial.attempt.finish(expected.before);
    } else {
        trial.attempt.run();
    }
    EXPECT_EQ(trial.attempt.result(), expected.result);
}

void expectFinishedTree(const Trial& trial, const Expectation& expected, Extent extent) {
    auto now = trial.snapshot();
    if (extent == Extent::FromThenOn) {
        now = withoutTemporaries(std::move(now));
    }
    EXPECT_TRUE(isSameTree(now, expected.after, trial.attempt.finish ? Times::None : Times::Stamps));
    EXPECT_TRUE(hasNoStrayFolder(*trial.provider, now, expected.before));
}

/// Looks at the tree once more after each of two changes of it: what a failure has left wrong in one copy of the folder
/// map shows only when the next change publishes that copy.
void expectSoundAfterChanges(const Trial& trial) {
    const StorageIRI passing(u"/a folder that comes and goes");
    const auto before = trial.snapshot();
    trial.provider->doCreateFolder(passing);
    auto now = trial.snapshot();
    EXPECT_EQ(now.erase(pathOf(passing)), 1U);
    EXPECT_TRUE(isSameTree(now, before, Times::OfFiles));
    trial.provider->doRemoveFolder(passing);
    EXPECT_TRUE(isSameTree(trial.snapshot(), before, Times::OfFiles));
}

/// Without what a failed allocation was for, the operation has done just what it does with it.
void expectSurvived(const Trial& trial, const TreeShape& shape, const Expectation& expected, Extent extent) {
    EXPECT_TRUE(shape.isLarge()) << "a failure went unnoticed in a tree that is too small for indexes";
    EXPECT_EQ(trial.attempt.result(), expected.result);
    expectFinishedTree(trial, expected, extent);
    expectSoundAfterChanges(trial);
}

void expectAsManyAsStated(const TreeShape& shape, const Operation& operation, std::size_t failures) {
    using enum Operation::Allocates;
    const bool must =
        operation.allocates == Always ||
        (operation.allocates == ForLongPaths && shape.spelling != TreeShape::Spelling::Short) ||
        (operation.allocates == ForLongNames && shape.spelling == TreeShape::Spelling::LongNames);
    if (must) {
        EXPECT_GT(failures, 0U);
    } else if (operation.allocates == Never) {
        EXPECT_EQ(failures, 0U);
    }
}

/// How far a call of a refused operation came.
enum class Answer { Refused, RefusedOutOfMemory, RanOutOfMemory };

Answer callRefused(const Attempt& attempt, const Operation& operation, std::size_t allowed) {
    const FailingAllocation failure(allowed);
    try {
        attempt.run();
    } catch (const std::bad_alloc&) {
        return Answer::RanOutOfMemory;
    } catch (const Exception& refusal) {
        EXPECT_EQ(refusal.getErrorCode(), operation.refusal);
        return failure.happened() ? Answer::RefusedOutOfMemory : Answer::Refused;
    }
    ADD_FAILURE() << "not refused";
    return Answer::Refused;
}

/// Goes on until memory is enough for the refusal, or the process ends.
void goOnUntilRefused(const TreeShape& shape, const Operation& operation, const Expectation& expected,
                      std::size_t& failures) {
    for (;; ++failures) {
        SCOPED_TRACE("memory runs out after " + std::to_string(failures) + " allocations");
        const Trial trial(shape, operation);
        switch (callRefused(trial.attempt, operation, failures)) {
        case Answer::Refused:
            EXPECT_TRUE(isSameTree(trial.snapshot(), expected.after, Times::Stamps));
            return;
        case Answer::RefusedOutOfMemory: // what was to be cleaned up may have stayed
            expectGuaranteed(trial, shape, operation, expected, Extent::FromThenOn);
            break;
        case Answer::RanOutOfMemory:
            expectGuaranteed(trial, shape, operation, expected, Extent::Once);
            EXPECT_THROW(trial.attempt.run(), Exception);
            break;
        }
    }
}

} // namespace

void sweep(const TreeShape& shape, const Operation& operation, Extent extent) {
    const auto expected = expectationOf(shape, operation);
    if (extent == Extent::FromThenOn && expected.changesNothing()) {
        return; // there is nothing to leave half-done
    }
    std::size_t failures = 0;
    std::size_t survivals = 0;
    Trial trial(shape, operation);
    for (auto outcome = call(trial.attempt, 0, extent); outcome != Outcome::Succeeded;
         outcome = call(trial.attempt, failures + survivals, extent)) {
        SCOPED_TRACE("memory runs out after " + std::to_string(failures + survivals) + " allocations");
        TrialTally::instance().countFailurePoints(1);
        if (outcome == Outcome::RanOut) {
            ++failures;
            expectGuaranteed(trial, shape, operation, expected, extent);
            finish(trial, expected);
            if (!expected.changesNothing()) {
                expectFinishedTree(trial, expected, extent);
            }
        } else {
            ++survivals;
            TrialTally::instance().countSurvivals(1);
            expectSurvived(trial, shape, expected, extent);
        }
        if (outcome == Outcome::RanOut && expected.changesNothing()) {
            // The next failure shows whether finishing changed nothing either.
            trial.prepare(shape, operation);
        } else {
            trial = Trial(shape, operation);
        }
        if (testing::Test::HasFailure()) {
            return; // one failure tells enough
        }
    }
    expectAsManyAsStated(shape, operation, failures);
    TrialTally::instance().countOperationOn(shape.name, operation.name);
}

void sweepRefused(const TreeShape& shape, const Operation& operation) {
    constexpr std::size_t allocationsOfAMessage = 3; // two to join its parts, one to keep the whole
    const auto expected = expectationOf(shape, operation);
    SharedCounter failures;
    std::size_t endings = 0;
    const auto goOn = [&] { goOnUntilRefused(shape, operation, expected, failures.value()); };
    auto outcome = runInChild(goOn);
    for (; outcome == ChildOutcome::Terminated; outcome = runInChild(goOn)) {
        ++endings;
        ++failures.value();
    }
    EXPECT_EQ(outcome, ChildOutcome::Done) << "memory ran out after " << failures.value() << " allocations";
    EXPECT_GT(failures.value(), 0U);
    EXPECT_LE(endings, allocationsOfAMessage);
    TrialTally::instance().countFailurePoints(failures.value());
    TrialTally::instance().countEndings(endings);
    TrialTally::instance().countOperationOn(shape.name, operation.name);
}

} // namespace storage::tests
