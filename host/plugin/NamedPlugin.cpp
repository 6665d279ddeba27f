#include "host/plugin/NamedPlugin.h"

#include "host/support/UsageError.h"

#include <algorithm>

namespace storage::host {

namespace {

constexpr const char* defaultName = "default";

bool isNameCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '_';
}

NamedPlugin parsePlugin(const std::string& word) {
    if (word.empty() || word.back() == '=') {
        throw UsageError("--plugin: empty path");
    }
    const std::size_t end = word.find_first_of("=/");
    if (end == std::string::npos || word[end] == '/') {
        return {"", word};
    }
    const std::string name = word.substr(0, end);
    if (name.empty()) {
        throw UsageError("--plugin " + word + ": the name before '=' is empty");
    }
    if (!std::all_of(name.begin(), name.end(), isNameCharacter)) {
        throw UsageError(
            "--plugin " + word +
            ": a name consists of letters, digits, - and _; give a path that contains '=' as ./PATH");
    }
    return {name, word.substr(end + 1)};
}

/// Finds the first plug-in without a name.
std::vector<NamedPlugin>::iterator findUnnamed(std::vector<NamedPlugin>& plugins) {
    return std::find_if(plugins.begin(), plugins.end(),
                        [](const NamedPlugin& plugin) { return plugin.name.empty(); });
}

} // namespace

std::vector<NamedPlugin> namedPlugins(const std::vector<std::string>& words) {
    std::vector<NamedPlugin> plugins;
    plugins.reserve(words.size());
    for (const std::string& word : words) {
        plugins.push_back(parsePlugin(word));
    }
    const auto unnamed = findUnnamed(plugins);
    if (plugins.size() > 1 && unnamed != plugins.end()) {
        unnamed->name = defaultName;
        std::rotate(plugins.begin(), unnamed, unnamed + 1);
        if (const auto other = findUnnamed(plugins); other != plugins.end()) {
            throw UsageError("--plugin " + other->path +
                             ": only one plug-in can have no name; give NAME=PATH");
        }
    }
    for (auto plugin = plugins.begin(); plugin != plugins.end(); ++plugin) {
        const auto isSame = [&](const NamedPlugin& other) { return other.name == plugin->name; };
        if (std::any_of(plugins.begin(), plugin, isSame)) {
            throw UsageError("--plugin: duplicate name '" + plugin->name + "'");
        }
    }
    return plugins;
}

std::optional<std::string> onlyPlugin(const std::vector<NamedPlugin>& plugins) {
    if (plugins.size() > 1) {
        throw UsageError("--plugin given more than once; only shell, run and -c accept several plug-ins");
    }
    if (!plugins.empty() && !plugins.front().name.empty()) {
        throw UsageError(
            "--plugin: name '" + plugins.front().name +
            "' given; only shell, run and -c accept names; give a path that contains '=' as ./PATH");
    }
    return plugins.empty() ? std::nullopt : std::optional(plugins.front().path);
}

} // namespace storage::host
