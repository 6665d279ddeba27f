#include "host/validate/CheckRunner.h"

#include "host/plugin/PluginLibrary.h"
#include "host/process/CheckProcess.h"
#include "host/process/TryInProcess.h"
#include "host/support/CommandError.h"
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
    OperationTrace trace;
    const auto beginCheck = [&] {
        CheckContext context(plugin_, profile_, seed_, trace);
        try {
            context.provider();
        } catch (const PluginError&) {
            throw;
        } catch (...) { // copied, because the context unloads the library that may define the exception class
            const Failure failure = Failure::ofCurrentException("");
            throw CommandError(failure.path, failure.reason);
        }
    };
    tryInProcess(plugin_, beginCheck, limit_, [&] { return trace.text(); });
}

CheckRunner::Running::Running(const CheckRunner& runner, const Check& check)
    : process_([&](const CheckProcess::Announce& announce) {
          std::optional<CheckContext> context;
          announce(verdictOf([&] { // before the provider and the library are destroyed, which may crash
              check.run(context.emplace(runner.plugin_, runner.profile_, runner.seed_, trace_));
          }));
      }) {}

CheckOutcome CheckRunner::Running::traced(CheckOutcome outcome) const {
    if (outcome.result == Result::Crash || outcome.result == Result::Hang) {
        outcome.reason += trace_.text();
    }
    return outcome;
}

std::unique_ptr<CheckRunner::Running> CheckRunner::start(const Check& check) const {
    return std::make_unique<Running>(*this, check);
}

} // namespace storage::host
