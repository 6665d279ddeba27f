#pragma once

#include "host/plugin/LoadedProvider.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include <stdexcept>

#include <memory>
#include <string>

namespace storage::host {

/// A plug-in that cannot be loaded or gives no provider. The text is one line: the path and the reason.
class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A provider plug-in, loaded.
///
/// Shares the library with every LoadedProvider that it makes; the last of them all unloads it.
/// Thread safety: one object is for one thread.
class PluginLibrary {
public:
    /// @param path  the shared library on disk
    /// @throws PluginError
    explicit PluginLibrary(const std::string& path);

    /// The shared library on disk, as it was given.
    const std::string& path() const { return path_; }

    /// The plug-in's own function. The providers that it makes do not hold the library.
    /// @throws PluginError when there is none
    foundation::storage::provider::ProviderEntryPoint* entryPoint() const;

    /// A new provider, which may outlive this object.
    /// @throws PluginError
    LoadedProvider buildProvider() const;

private:
    std::string path_;
    std::shared_ptr<void> handle_;
};

} // namespace storage::host
