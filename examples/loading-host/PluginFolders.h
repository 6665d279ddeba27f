#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// The folders to search for plug-ins; the first match is used.
class PluginFolders {
public:
    explicit PluginFolders(std::vector<std::filesystem::path> folders);

    /// Returns the library of the provider with this name: libqzstorageNAMEprovider.so.
    /// @throws PluginError
    std::filesystem::path find(const std::string& name) const;

private:
    std::vector<std::filesystem::path> folders_;
};
