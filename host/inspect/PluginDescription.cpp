#include "host/inspect/PluginDescription.h"

#include "host/plugin/PluginLibrary.h"
#include "host/support/CommandError.h"
#include "host/support/Failure.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace storage::host {

using provider::ExtendedFeature;
using provider::IProvider;
using provider::providerEntryPointName;

namespace {

constexpr int mostFeatures = 256;

std::vector<int> featuresOf(const IProvider& provider) {
    std::vector<int> features;
    for (int number = 0; number < mostFeatures; ++number) {
        if (provider.doHasFeature(static_cast<ExtendedFeature>(number))) {
            features.push_back(number);
        }
    }
    return features;
}

void describeProvider(const PluginLibrary& library, PluginDescription& description) {
    try {
        const LoadedProvider provider = library.buildProvider();
        description.own = ownOperations(*provider);
        description.features = featuresOf(*provider);
    } catch (const PluginError& error) {
        description.whyNoProvider = error.what();
    } catch (...) {
        description.whyNoProvider =
            "the provider cannot be queried: " + Failure::ofCurrentException("").reason;
    }
}

/// Loads the library and describes its file, even if the dynamic linker rejects it.
/// @return the library; nothing if it was rejected, with the reason in the description
std::optional<PluginLibrary> load(const std::string& path, PluginDescription& description) {
    std::optional<PluginLibrary> library;
    try {
        library.emplace(path);
    } catch (const PluginError& error) {
        if (!std::filesystem::is_regular_file(path)) {
            throw;
        }
        description.whyNoProvider = error.what();
    }
    try {
        description.library = ElfDescription::read(path);
    } catch (const CommandError&) {
        if (!library) {
            throw PluginError(description.whyNoProvider);
        }
        throw;
    }
    return library;
}

} // namespace

PluginDescription PluginDescription::of(const std::string& path) {
    PluginDescription description;
    const auto library = load(path, description);
    description.file = std::filesystem::absolute(path).lexically_normal();
    description.size = std::filesystem::file_size(path);
    auto& exports = description.library.exports;
    const auto entryPoint = std::find(exports.begin(), exports.end(), providerEntryPointName);
    description.hasEntryPoint = entryPoint != exports.end();
    if (description.hasEntryPoint) {
        exports.erase(entryPoint);
    }
    if (library) {
        describeProvider(*library, description);
    }
    return description;
}

std::size_t ownCount(const PluginDescription& plugin) {
    return static_cast<std::size_t>(std::count(plugin.own.begin(), plugin.own.end(), true));
}

std::string featureName(int number) {
    return static_cast<ExtendedFeature>(number) == ExtendedFeature::VolatileStorage ? "VolatileStorage" : "";
}

} // namespace storage::host
