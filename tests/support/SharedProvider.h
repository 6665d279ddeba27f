#pragma once

#include "host/plugin/PluginLibrary.h"

#include <memory>
#include <string>

/// Creates a provider of a plug-in. The pointer also shares the library.
inline std::shared_ptr<foundation::storage::provider::IProvider> sharedProvider(const std::string& plugin) {
    using storage::host::LoadedProvider;
    const auto owner = std::make_shared<LoadedProvider>(storage::host::PluginLibrary(plugin).buildProvider());
    return {owner, &**owner};
}
