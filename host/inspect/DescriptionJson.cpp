#include "host/inspect/DescriptionJson.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"

#include <nlohmann/json.hpp>

namespace storage::host {

using foundation::storage::provider::providerEntryPointName;
using foundation::storage::provider::providerOperations;

namespace {

using Json = nlohmann::ordered_json;

Json textsJson(const std::vector<std::string>& texts) {
    Json json = Json::array();
    for (const std::string& text : texts) {
        json.push_back(printable(text));
    }
    return json;
}

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
                    {"file", printable(plugin.file)},
                    {"size", plugin.size},
                    {"soname", printable(plugin.library.soname)},
                    {"needed", textsJson(plugin.library.needed)},
                    {"entryPoint", {{"name", providerEntryPointName}, {"exported", plugin.hasEntryPoint}}},
                    {"otherExports", textsJson(plugin.library.exports)},
                    {"provider", providerJson(plugin)}};
    out << json.dump(2) << '\n' << std::flush;
}

} // namespace storage::host
