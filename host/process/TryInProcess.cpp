#include "host/process/TryInProcess.h"

#include "host/plugin/PluginLibrary.h"
#include "host/support/Failure.h"
#include "host/support/Utf.h"

namespace storage::host {

namespace {

using Result = CheckOutcome::Result;

CheckOutcome verdictOf(const std::string& plugin, const std::function<void()>& work) {
    try {
        work();
        return {Result::Pass, ""};
    } catch (const PluginError& error) {
        return {Result::Fail, error.what()};
    } catch (...) {
        return {Result::Fail, printable(plugin) + ": " + Failure::ofCurrentException("").text()};
    }
}

} // namespace

void tryInProcess(const std::string& plugin, const std::function<void()>& work,
                  std::chrono::milliseconds limit, CheckProcess::Where where) {
    CheckProcess process([&](const CheckProcess::Announce& announce) { announce(verdictOf(plugin, work)); },
                         limit, std::move(where));
    const CheckOutcome outcome = process.wait();
    if (outcome.result == Result::Crash || outcome.result == Result::Hang) {
        const std::string output = outcome.output.empty() ? "" : "; its output: " + outcome.output;
        throw PluginError(printable(plugin) + ": the process that loaded it " + outcome.reason + output);
    }
    if (outcome.result == Result::Fail) {
        throw PluginError(printableInMessage(outcome.reason)); // one line
    }
}

} // namespace storage::host
