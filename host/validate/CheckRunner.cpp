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

CheckOutcome unexpected() {
    return {Result::Fail, "unexpected failure: " + Failure::ofCurrentException("").text()};
}

CheckOutcome verdictOf(const std::function<void()>& check) {
    try {
        check();
        return {Result::Pass, ""};
    } catch (const RuleBroken& broken) {
        return {Result::Fail, broken.what()};
    } catch (const CheckSkipped& skipped) {
        return {Result::Skip, skipped.what()};
    } catch (...) {
        return unexpected();
    }
}

} // namespace

void CheckRunner::requireProvider() const {
    const auto beginCheck = [this] {
        CheckContext context(plugin_, profile_, seed_);
        try {
            context.provider();
        } catch (const PluginError&) {
            throw;
        } catch (
            ...) { // no exception of the plug-in's own classes may outlive the context, which holds the library
            const Failure failure = Failure::ofCurrentException("");
            throw CommandError(failure.path, failure.reason);
        }
    };
    tryInProcess(plugin_, beginCheck, limit_);
}

CheckOutcome CheckRunner::run(const Check& check) const {
    CheckProcess process([&](const CheckProcess::Announce& announce) {
        std::optional<CheckContext> context;
        announce(verdictOf([&] { // before provider and library go, which may end the process
            check.run(context.emplace(plugin_, profile_, seed_));
        }));
    });
    return process.wait(limit_);
}

} // namespace storage::host
