#include "tests/memory/Sweep.h"

#include "tests/memory/ChildOutcome.h"
#include "tests/memory/SharedCounter.h"
#include "tests/memory/SweepTally.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <new>

namespace storage::tests {

using provider::Exception;
using provider::IProvider;
using provider::StorageIRI;
using Extent = FailingAllocation::Extent;

namespace {

/// A new tree with the operation ready to be called.
struct Experiment {
    Experiment(const TreeShape& shape, const Operation& operation) : provider(build(shape)) {
        prepare(shape, operation);
    }

    /// Prepares the operation again.
    void prepare(const TreeShape& shape, const Operation& operation) {
        attempt = operation.prepare(*provider, shape);
        age(*provider, shape);
    }

    TreeSnapshot snapshot() const { return takeSnapshot(*provider); }

    std::shared_ptr<IProvider> provider;
    Attempt attempt;
};

/// The tree before and after the operation without failures, and its result.
struct Expectation {
    TreeSnapshot before;
    TreeSnapshot after;
    std::string result;

    bool changesNothing() const { return after == before; }
};

Expectation expectationOf(const TreeShape& shape, const Operation& operation) {
    const Experiment experiment(shape, operation);
    Expectation expected{experiment.snapshot(), {}, {}};
    try {
        experiment.attempt.run();
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.getErrorCode(), operation.refusal) << failure.what();
    }
    expected.after = experiment.snapshot();
    if (!operation.refusal) {
        expected.result = experiment.attempt.result();
    }
    return expected;
}

/// The result of a call in which an allocation may fail.
enum class Outcome {
    Succeeded, ///< no allocation failed
    Survived,  ///< an allocation failed, but the operation did not require it
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

void expectGuaranteed(const Experiment& experiment, const TreeShape& shape, const Operation& operation,
                      const Expectation& expected, Extent extent) {
    const auto now = experiment.snapshot();
    operation.guarantee(shape, {expected.before, now, expected.after, extent});
    EXPECT_TRUE(hasNoStrayFolder(*experiment.provider, now, expected.before));
    EXPECT_TRUE(hasNoStrayFolder(*experiment.provider, now, expected.after));
}

void finish(const Experiment& experiment, const Expectation& expected) {
    if (experiment.attempt.finish) {
        experiment.attempt.finish(expected.before);
    } else {
        experiment.attempt.run();
    }
    EXPECT_EQ(experiment.attempt.result(), expected.result);
}

void expectFinishedTree(const Experiment& experiment, const Expectation& expected, Extent extent) {
    auto now = experiment.snapshot();
    if (extent == Extent::FromThenOn) {
        now = withoutTemporaries(std::move(now));
    }
    EXPECT_TRUE(isSameTree(now, expected.after, experiment.attempt.finish ? Times::None : Times::Stamps));
    EXPECT_TRUE(hasNoStrayFolder(*experiment.provider, now, expected.before));
}

/// Checks the tree again after each of two changes: an error in one copy of the folder map is visible only
/// after the next change has published that copy.
void expectSoundAfterChanges(const Experiment& experiment) {
    const StorageIRI passing(u"/a folder that comes and goes");
    const auto before = experiment.snapshot();
    experiment.provider->doCreateFolder(passing);
    auto now = experiment.snapshot();
    EXPECT_EQ(now.erase(pathOf(passing)), 1U);
    EXPECT_TRUE(isSameTree(now, before, Times::OfFiles));
    experiment.provider->doRemoveFolder(passing);
    EXPECT_TRUE(isSameTree(experiment.snapshot(), before, Times::OfFiles));
}

/// The operation survived the failed allocation: its result must be the same as without the failure.
void expectSurvived(const Experiment& experiment, const TreeShape& shape, const Expectation& expected,
                    Extent extent) {
    EXPECT_TRUE(shape.isLarge()) << "succeeds without memory in a tree that is too small for indexes";
    EXPECT_EQ(experiment.attempt.result(), expected.result);
    expectFinishedTree(experiment, expected, extent);
    expectSoundAfterChanges(experiment);
}

void expectAsManyAsStated(const TreeShape& shape, const Operation& operation, std::size_t failures) {
    using enum Operation::Allocates;
    const bool must =
        operation.allocates == Always ||
        (operation.allocates == ForLongPaths && shape.spelling != TreeShape::Spelling::Short) ||
        (operation.allocates == ForLongNames && shape.spelling == TreeShape::Spelling::LongNames);
    if (must) {
        EXPECT_GT(failures, 0U);
    } else if (operation.allocates == Never || (operation.allocates == InLargeTrees && !shape.isLarge())) {
        EXPECT_EQ(failures, 0U);
    }
}

/// The result of a call of a refused operation.
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

/// Fails each allocation in turn until the operation is refused or the process ends.
void repeatUntilRefused(const TreeShape& shape, const Operation& operation, const Expectation& expected,
                        std::size_t& failures) {
    for (;; ++failures) {
        SCOPED_TRACE("out of memory after " + std::to_string(failures) + " allocations");
        const Experiment experiment(shape, operation);
        switch (callRefused(experiment.attempt, operation, failures)) {
        case Answer::Refused:
            EXPECT_TRUE(isSameTree(experiment.snapshot(), expected.after, Times::Stamps));
            return;
        case Answer::RefusedOutOfMemory: // the cleanup may have failed as well
            expectGuaranteed(experiment, shape, operation, expected, Extent::FromThenOn);
            break;
        case Answer::RanOutOfMemory:
            expectGuaranteed(experiment, shape, operation, expected, Extent::Once);
            EXPECT_THROW(experiment.attempt.run(), Exception);
            break;
        }
    }
}

} // namespace

void sweep(const TreeShape& shape, const Operation& operation, Extent extent) {
#ifdef QZSTORAGE_SANITIZED
    constexpr std::size_t stepInLargeTrees = 7; // building the tree for each failure takes minutes
#else
    constexpr std::size_t stepInLargeTrees = 1;
#endif
    const auto expected = expectationOf(shape, operation);
    if (extent == Extent::FromThenOn && expected.changesNothing()) {
        return; // a partial change is impossible
    }
    std::size_t failures = 0;
    std::size_t survivals = 0;
    std::size_t allowed = 0; // allocations before the failure
    Experiment experiment(shape, operation);
    for (auto outcome = call(experiment.attempt, allowed, extent); outcome != Outcome::Succeeded;
         outcome = call(experiment.attempt, allowed, extent)) {
        SCOPED_TRACE("out of memory after " + std::to_string(allowed) + " allocations");
        SweepTally::instance().countFailurePoints(1);
        if (outcome == Outcome::RanOut) {
            ++failures;
            expectGuaranteed(experiment, shape, operation, expected, extent);
            finish(experiment, expected);
            if (!expected.changesNothing()) {
                expectFinishedTree(experiment, expected, extent);
            }
        } else {
            ++survivals;
            SweepTally::instance().countSurvivals(1);
            expectSurvived(experiment, shape, expected, extent);
        }
        if (outcome == Outcome::RanOut && expected.changesNothing()) {
            // Reuses the tree: the checks after the next failure detect a change made by finish().
            experiment.prepare(shape, operation);
        } else {
            experiment = Experiment(shape, operation);
        }
        if (testing::Test::HasFailure()) {
            return; // stop at the first test failure
        }
        allowed += shape.isLarge() ? stepInLargeTrees : 1;
    }
    expectAsManyAsStated(shape, operation, failures);
    SweepTally::instance().countOperationOn(shape.name, operation.name);
}

void sweepRefused(const TreeShape& shape, const Operation& operation) {
    constexpr std::size_t allocationsOfAMessage = 3; // two to concatenate its parts, one to store the result
    const auto expected = expectationOf(shape, operation);
    SharedCounter failures;
    std::size_t endings = 0;
    const auto goOn = [&] { repeatUntilRefused(shape, operation, expected, failures.value()); };
    auto outcome = runInChild(goOn);
    for (; outcome == ChildOutcome::Terminated; outcome = runInChild(goOn)) {
        ++endings;
        ++failures.value();
    }
    EXPECT_EQ(outcome, ChildOutcome::Done) << "out of memory after " << failures.value() << " allocations";
    EXPECT_GT(failures.value(), 0U);
    EXPECT_LE(endings, allocationsOfAMessage);
    SweepTally::instance().countFailurePoints(failures.value());
    SweepTally::instance().countEndings(endings);
    SweepTally::instance().countOperationOn(shape.name, operation.name);
}

} // namespace storage::tests
