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
    std::string whyNoProvider; ///< reason; empty if there is a provider, described by the members below
    OwnOperations own{};       ///< for each operation: whether it overrides the host's default
    std::vector<int> features; ///< numbers of the claimed features

    /// Loads the plug-in and creates one provider. Calls nothing that changes a storage.
    /// @throws PluginError when it cannot be loaded
    static PluginDescription of(const std::string& path);
};

/// Returns the number of operations that the plug-in overrides.
std::size_t ownCount(const PluginDescription& plugin);

/// Returns the name of a feature, for example "VolatileStorage"; empty if the host has no name for the
/// number.
std::string featureName(int number);

} // namespace storage::host
