#pragma once

#include "host/inspect/ElfDescription.h"
#include "host/inspect/OwnOperations.h"

#include <cstdint>
#include <string>
#include <vector>

namespace storage::host {

/// What a plug-in is made of. A value.
struct PluginDescription {
    std::string file; ///< absolute path
    std::uintmax_t size = 0;
    ElfDescription library;
    bool hasEntryPoint = false;
    std::string whyNoProvider; ///< empty when it gave one; all below is about that one
    OwnOperations own{};       ///< for each operation, not the host's
    std::vector<int> features; ///< numbers of those it claims

    /// Loads the plug-in and asks it for one provider, but for nothing that changes a storage.
    /// @throws PluginError when it cannot be loaded
    static PluginDescription of(const std::string& path);
};

/// How many operations are the plug-in's.
std::size_t ownCount(const PluginDescription& plugin);

/// "VolatileStorage"; empty when the host gives the number no meaning.
std::string featureName(int number);

} // namespace storage::host
