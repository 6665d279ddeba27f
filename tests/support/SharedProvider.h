#pragma once

#include "host/plugin/PluginLibrary.h"

#include <memory>
#include <string>

/// A new provider of a plug-in. The pointer shares the library too, so a test provider that forwards to it needs nothing
/// else.
inline std::shared_ptr<foundation::storage::provider::IProvider> sharedProvider(const std::string& plugin) {
    using storage::host::LoadedProvider;
    const auto owner = std::make_shared<LoadedProvider>(storage::host::PluginLibrary(plugin).buildProvider());
    return {owner, &**owner};
}
