#include "host/inspect/InspectRun.h"

#include "host/inspect/DescriptionJson.h"
#include "host/inspect/DescriptionText.h"
#include "host/inspect/OutputToErrors.h"
#include "host/process/TryInProcess.h"

namespace storage::host {

namespace {

constexpr std::chrono::seconds timeLimit(60);

PluginDescription describe(const std::string& plugin) {
    tryInProcess(
        plugin, [&] { PluginDescription::of(plugin); }, timeLimit);
    const OutputToErrors redirected;
    return PluginDescription::of(plugin);
}

} // namespace

ExitStatus runInspect(const std::string& plugin, const InspectOptions& options, Console& console) {
    const PluginDescription description = describe(plugin);
    if (options.format == ReportFormat::Json) {
        printJson(console.out(), description);
    } else {
        printText(console.out(), description);
    }
    return description.whyNoProvider.empty() ? ExitStatus::Success : ExitStatus::Failure;
}

} // namespace storage::host
