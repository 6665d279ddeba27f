#include "tests/stress/threads/StressThread.h"

#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/stress/threads/PathUniverse.h"

#include <exception>

namespace storage::stress {

using provider::Exception;
using provider::ReplacementPolicy;
using provider::StorageIRI;

namespace {

/// Number of consecutive operations on one provider.
constexpr std::size_t operationsInOneWorld = 64;

constexpr std::size_t mostRemembered = 16;

/// Whether the call succeeded.
/// @throws Violation when it failed in a way that is not allowed
bool succeeds(const Operation& operation, Attempt& attempt) {
    try {
        operation.call(attempt);
    } catch (const Violation&) {
        throw;
    } catch (const Exception& failure) {
        requireThat(operation.allows(failure, attempt),
                    std::string("must not fail with code ") +
                        std::to_string(static_cast<int>(failure.getErrorCode())) + ": " + failure.what());
        return false;
    } catch (const std::exception& failure) {
        throw Violation(std::string("must not fail with: ") + failure.what());
    }
    requireThat(operation.isOffered(), "must always fail");
    return true;
}

} // namespace

StressThread::StressThread(Shared& shared, std::size_t seed)
    : shared_(shared), random_(seed), holdings_(shared.exchange) {}

void StressThread::run(std::size_t operations) {
    try {
        for (std::size_t done = 0; done < operations && !shared_.violation.isSet();) {
            switch (pick(random_, 10)) {
            case 0:
            case 1:
                holdings_.useFile(random_);
                break;
            case 2:
                holdings_.useListing(random_);
                break;
            default:
                if (done++ % operationsInOneWorld == 0) {
                    changeWorld();
                }
                callProvider();
                break;
            }
        }
    } catch (const std::exception& failure) {
        shared_.violation.report(failure.what());
    }
    world_.reset();
}

void StressThread::changeWorld() {
    if (onceIn(8, random_)) {
        shared_.worlds.replaceOne(random_);
    }
    world_ = shared_.worlds.any(random_);
}

void StressThread::callProvider() {
    const std::size_t chosen = anyOperation(random_);
    const Operation& operation = allOperations()[chosen];
    const auto policy = static_cast<ReplacementPolicy>(pick(random_, 6));
    Attempt attempt{
        world_->provider(), StorageIRI(anySource()), StorageIRI(anyPath(random_)), policy, random_,
        holdings_};
    try {
        if (succeeds(operation, attempt)) {
            tally_.countSuccess(chosen);
            remember(operation, attempt.source.getPath());
        } else {
            tally_.countFailure(chosen);
        }
    } catch (const Violation& failure) {
        throw Violation(std::string(operation.name) + " at " + shown(attempt.source.getPath()) + ", " +
                        shown(attempt.destination.getPath()) + ": " + failure.what());
    }
}

std::u16string StressThread::anySource() {
    const std::size_t chosen = pick(random_, 2 * mostRemembered);
    return chosen < met_.size() ? met_[chosen] : anyPath(random_);
}

void StressThread::remember(const Operation& operation, const std::u16string& path) {
    if (operation.mayFail.empty()) {
        return; // succeeds also for missing entries
    }
    if (met_.size() < mostRemembered) {
        met_.push_back(path);
    } else {
        met_[pick(random_, mostRemembered)] = path;
    }
}

} // namespace storage::stress
