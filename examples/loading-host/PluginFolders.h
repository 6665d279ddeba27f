#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// The folders that plug-ins are looked for in, the first that has one counts.
class PluginFolders {
public:
    explicit PluginFolders(std::vector<std::filesystem::path> folders);

    /// The library of the provider with this name: libqzstorageNAMEprovider.so.
    /// @throws PluginError
    std::filesystem::path find(const std::string& name) const;

private:
    std::vector<std::filesystem::path> folders_;
};
