#include "host/inspect/DescriptionJson.h"

#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <nlohmann/json.hpp>

namespace storage::host {

using provider::providerEntryPointName;
using provider::providerOperations;

namespace {

using Json = nlohmann::ordered_json;

Json operationsJson(const PluginDescription& plugin) {
    Json json = Json::array();
    for (std::size_t i = 0; i < plugin.own.size(); ++i) {
        json.push_back({{"name", providerOperations[i].name}, {"by", plugin.own[i] ? "plugin" : "host"}});
    }
    return json;
}

Json featuresJson(const PluginDescription& plugin) {
    Json json = Json::array();
    for (const int number : plugin.features) {
        json.push_back({{"number", number}, {"name", featureName(number)}});
    }
    return json;
}

Json providerJson(const PluginDescription& plugin) {
    if (!plugin.whyNoProvider.empty()) {
        return {{"failure", plugin.whyNoProvider}};
    }
    const std::size_t own = ownCount(plugin);
    return {{"features", featuresJson(plugin)},
            {"ownOperations", own},
            {"hostOperations", plugin.own.size() - own},
            {"operations", operationsJson(plugin)}};
}

} // namespace

void printJson(std::ostream& out, const PluginDescription& plugin) {
    const Json json{{"tool", "qzstorage"},
                    {"version", QZSTORAGE_VERSION},
                    {"file", plugin.file},
                    {"size", plugin.size},
                    {"soname", plugin.library.soname},
                    {"needed", plugin.library.needed},
                    {"entryPoint", {{"name", providerEntryPointName}, {"exported", plugin.hasEntryPoint}}},
                    {"otherExports", plugin.library.exports},
                    {"provider", providerJson(plugin)}};
    // JSON text is UTF-8. Other bytes in names become U+FFFD.
    out << json.dump(2, ' ', /*ensure_ascii*/ false, Json::error_handler_t::replace) << '\n' << std::flush;
}

} // namespace storage::host
