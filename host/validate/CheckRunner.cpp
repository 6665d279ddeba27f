#include "host/validate/CheckRunner.h"

#include "host/Failure.h"
#include "host/PluginError.h"
#include "host/PluginLibrary.h"
#include "host/Utf.h"
#include "host/validate/CheckContext.h"
#include "host/validate/CheckProcess.h"
#include "host/validate/CheckSkipped.h"
#include "host/validate/RuleBroken.h"

namespace storage::host {

namespace {

CheckVerdict unexpected() {
    const Failure failure = Failure::ofCurrentException("");
    return {CheckResult::Fail,
            "unexpected failure: " + (failure.path.empty() ? "" : failure.path + ": ") + failure.reason};
}

CheckVerdict verdictOf(const Check& check, CheckContext& context) {
    try {
        check.run(context);
        return {CheckResult::Pass, ""};
    } catch (const RuleBroken& broken) {
        return {CheckResult::Fail, broken.what()};
    } catch (const CheckSkipped& skipped) {
        return {CheckResult::Skip, skipped.what()};
    } catch (...) {
        return unexpected();
    }
}

CheckVerdict verdictOfLoading(const std::string& plugin) {
    try {
        PluginLibrary(plugin).buildProvider();
        return {CheckResult::Pass, ""};
    } catch (const PluginError& error) {
        return {CheckResult::Fail, error.what()};
    }
}

} // namespace

void CheckRunner::requireProvider() const {
    CheckProcess process(
        [this](const CheckProcess::Announce& announce) { announce(verdictOfLoading(plugin_)); });
    const CheckVerdict verdict = process.wait(limit_).verdict;
    if (verdict.result == CheckResult::Crash) {
        throw PluginError(printable(plugin_) + ": the process that loaded it " + verdict.reason);
    }
    if (verdict.result == CheckResult::Fail) {
        throw PluginError(verdict.reason);
    }
}

CheckOutcome CheckRunner::run(const Check& check) const {
    CheckProcess process([&](const CheckProcess::Announce& announce) {
        CheckContext context(plugin_, profile_, seed_);
        announce(verdictOf(check, context)); // before provider and library go, which may end the process
    });
    return process.wait(limit_);
}

} // namespace storage::host
