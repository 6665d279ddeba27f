#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"

#include <functional>
#include <memory>
#include <string>

namespace storage::host {

/// A provider plug-in, loaded.
///
/// Shares the library with every provider that it makes and with their streams and listings; the library is
/// unloaded with the last of them all. Exceptions of classes that the plug-in itself defines must be gone by
/// then. Thread safety: one object is for one thread.
class PluginLibrary {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param path  the shared library on disk
    /// @throws PluginError
    explicit PluginLibrary(const std::string& path);

    /// The shared library on disk, as it was given.
    const std::string& path() const { return path_; }

    /// The plug-in's own function. Unlike those of `buildProvider`, the providers that it makes do not hold the library.
    /// @throws PluginError when there is none
    foundation::storage::provider::ProviderEntryPoint* entryPoint() const;

    /// A new provider, which may outlive this object.
    /// @throws PluginError
    std::shared_ptr<IProvider> buildProvider() const;

    /// Shows the provider itself, without what keeps the library loaded: it is there for the call alone, and so must be
    /// all that comes out of it.
    /// @throws PluginError
    void lookAtProvider(const std::function<void(const IProvider&)>& look) const;

private:
    std::shared_ptr<IProvider> buildUnboundProvider() const;

    std::string path_;
    std::shared_ptr<void> handle_;
};

} // namespace storage::host
