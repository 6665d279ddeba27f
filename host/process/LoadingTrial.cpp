#include "host/process/LoadingTrial.h"

#include "host/plugin/PluginError.h"
#include "host/process/CheckProcess.h"
#include "host/support/Failure.h"
#include "host/support/Utf.h"

namespace storage::host {

namespace {

CheckVerdict verdictOf(const std::string& plugin, const std::function<void()>& work) {
    try {
        work();
        return {CheckResult::Pass, ""};
    } catch (const PluginError& error) {
        return {CheckResult::Fail, error.what()};
    } catch (...) {
        const Failure failure = Failure::ofCurrentException("");
        return {CheckResult::Fail, printable(plugin) + ": " +
                                       (failure.path.empty() ? "" : failure.path + ": ") + failure.reason};
    }
}

} // namespace

void tryInProcess(const std::string& plugin, const std::function<void()>& work,
                  std::chrono::milliseconds limit) {
    CheckProcess process([&](const CheckProcess::Announce& announce) { announce(verdictOf(plugin, work)); });
    const CheckOutcome outcome = process.wait(limit);
    if (outcome.verdict.result == CheckResult::Crash) {
        const std::string lastWords = outcome.output.empty() ? "" : "; it said: " + outcome.output;
        throw PluginError(printable(plugin) + ": the process that loaded it " + outcome.verdict.reason +
                          lastWords);
    }
    if (outcome.verdict.result == CheckResult::Fail) {
        throw PluginError(outcome.verdict.reason);
    }
}

} // namespace storage::host
