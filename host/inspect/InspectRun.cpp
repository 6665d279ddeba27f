#include "host/inspect/InspectRun.h"

#include "host/inspect/DescriptionJson.h"
#include "host/inspect/DescriptionText.h"

namespace storage::host {

ExitStatus runInspect(const std::string& plugin, const InspectOptions& options, Console& console) {
    const auto description = PluginDescription::of(plugin);
    if (options.format == ReportFormat::Json) {
        printJson(console.out(), description);
    } else {
        printText(console.out(), description);
    }
    return description.whyNoProvider.empty() ? ExitStatus::Success : ExitStatus::Failure;
}

} // namespace storage::host
