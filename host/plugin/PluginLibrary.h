#pragma once

#include "host/plugin/LoadedProvider.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace storage::host {

/// A plug-in that cannot be loaded or returns no provider. The text is one line: path and reason.
class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A loaded provider plug-in.
///
/// Shares the library with each LoadedProvider that it creates. The last owner unloads it. Not thread-safe.
class PluginLibrary {
public:
    /// @param path  path of the shared library
    /// @throws PluginError
    explicit PluginLibrary(const std::string& path);

    /// The path as passed to the constructor.
    const std::string& path() const { return path_; }

    /// The plug-in's entry point. Providers created by calling it directly do not keep the library loaded.
    /// @throws PluginError when the library has no entry point
    provider::ProviderEntryPoint* entryPoint() const;

    /// Creates a provider, which may outlive this object.
    /// @throws PluginError
    LoadedProvider buildProvider() const;

private:
    std::string path_;
    std::shared_ptr<void> handle_;
};

} // namespace storage::host
