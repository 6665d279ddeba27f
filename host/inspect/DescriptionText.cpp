#include "host/inspect/DescriptionText.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>

namespace storage::host {

using provider::providerEntryPointName;
using provider::providerOperations;

namespace {

void printLine(std::ostream& out, const char* title, const std::string& text) {
    out << fmt::format("{:<12} {}\n", title, text);
}

/// Prints one line per text. Only the first has the title.
void printLines(std::ostream& out, const char* title, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        printLine(out, title, printable(text));
        title = "";
    }
    if (texts.empty()) {
        printLine(out, title, "nothing");
    }
}

std::vector<std::string> featureTexts(const PluginDescription& plugin) {
    std::vector<std::string> texts;
    for (const int number : plugin.features) {
        const std::string name = featureName(number);
        texts.push_back(fmt::format("{} {}", number, name.empty() ? "(unknown to this host)" : name));
    }
    return texts;
}

void printProvider(std::ostream& out, const PluginDescription& plugin) {
    const std::size_t own = ownCount(plugin);
    printLines(out, "features", featureTexts(plugin));
    printLine(out, "operations",
              fmt::format("{}: {} overridden, {} defaults", plugin.own.size(), own, plugin.own.size() - own));
    for (std::size_t i = 0; i < plugin.own.size(); ++i) {
        printLine(out, plugin.own[i] ? "  overridden" : "     default", providerOperations[i].name);
    }
}

} // namespace

void printText(std::ostream& out, const PluginDescription& plugin) {
    printLine(out, "file", printable(plugin.file));
    printLine(out, "size", fmt::format("{} bytes", plugin.size));
    printLine(out, "soname", plugin.library.soname.empty() ? "none" : printable(plugin.library.soname));
    printLines(out, "needs", plugin.library.needed);
    printLine(out, "entry point",
              fmt::format("{}{}", providerEntryPointName, plugin.hasEntryPoint ? "" : " is missing"));
    printLines(out, "also exports", plugin.library.exports);
    if (plugin.whyNoProvider.empty()) {
        printProvider(out, plugin);
    } else {
        printLine(out, "no provider", plugin.whyNoProvider);
    }
    out << std::flush;
}

} // namespace storage::host
