#include "host/validate/CheckRunner.h"

#include "host/process/TryInProcess.h"
#include "host/support/Failure.h"
#include "host/validate/kit/CheckContext.h"

#include <optional>

namespace storage::host {

namespace {

using Result = CheckOutcome::Result;

CheckOutcome verdictOf(const std::function<void()>& check) {
    try {
        check();
        return {Result::Pass, ""};
    } catch (const RuleBroken& broken) {
        return {Result::Fail, broken.what()};
    } catch (const CheckSkipped& skipped) {
        return {Result::Skip, skipped.what()};
    } catch (...) {
        return {Result::Fail, "unexpected failure: " + Failure::ofCurrentException("").text()};
    }
}

} // namespace

void CheckRunner::requireProvider() const {
    const OperationTrace trace;
    std::optional<CheckContext> context; // its library may define the class of an exception of the provider
    const auto beginCheck = [&] {
        context.emplace(plugin, profile, seed, trace).provider();
        context.reset();
    };
    tryInProcess(plugin, beginCheck, limit, [&] { return trace.text(); });
}

std::unique_ptr<CheckProcess> CheckRunner::start(const Check& check) const {
    const OperationTrace trace;
    const auto task = [&](const CheckProcess::Announce& announce) {
        std::optional<CheckContext> context;
        announce(verdictOf([&] { // before provider and library are released, which may crash
            check.run(context.emplace(plugin, profile, seed, trace));
        }));
    };
    return std::make_unique<CheckProcess>(task, limit, [trace] { return trace.text(); });
}

} // namespace storage::host
