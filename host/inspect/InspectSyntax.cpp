#include "host/inspect/InspectSyntax.h"

#include "host/plugin/PluginOperand.h"
#include "host/support/NonEmptyPath.h"

#include <CLI/CLI.hpp>

namespace storage::host {

namespace {

constexpr const char* inspectExamples = R"(Examples:
  qzstorage inspect ./libmyprovider.so
  qzstorage inspect --json ./libmyprovider.so

Exit status: 0 success, 1 not a plug-in or cannot be loaded, 2 wrong usage.
)";

} // namespace

InspectSyntax::InspectSyntax(CLI::App& app)
    : command_(app.add_subcommand("inspect", "Show the exports, dependencies and features of a plug-in")) {
    command_->add_option("PLUGIN", plugin_, "Shared library of the plug-in")
        ->type_name("")
        ->check(nonEmptyPath());
    command_->add_flag("--json", json_, "Print the result as JSON");
    command_->footer(inspectExamples);
}

std::optional<InspectOptions> InspectSyntax::result(const std::optional<std::string>& plugin) const {
    if (!*command_) {
        return std::nullopt;
    }
    return InspectOptions{namedPlugin(plugin, plugin_), json_ ? ReportFormat::Json : ReportFormat::Text};
}

} // namespace storage::host
