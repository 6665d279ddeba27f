#pragma once

#include "host/inspect/ElfDescription.h"
#include "host/inspect/OwnOperations.h"

#include <cstdint>
#include <string>
#include <vector>

namespace storage::host {

/// Description of a plug-in. A value.
struct PluginDescription {
    std::string file; ///< absolute path
    std::uintmax_t size = 0;
    ElfDescription library;
    bool hasEntryPoint = false;
    std::string whyNoProvider; ///< empty if there is a provider, which the members below describe
    OwnOperations own{};       ///< for each operation: whether it overrides the host's default
    std::vector<int> features; ///< numbers of the features that it claims

    /// Loads the plug-in and creates one provider. Calls nothing that changes a storage.
    /// @throws PluginError when it cannot be loaded
    static PluginDescription of(const std::string& path);
};

/// The number of operations that the plug-in implements itself.
std::size_t ownCount(const PluginDescription& plugin);

/// For example "VolatileStorage"; empty for a number without a meaning to the host.
std::string featureName(int number);

} // namespace storage::host
