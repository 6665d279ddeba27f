#pragma once

#include "hostapi/storage/provider/IProvider.h"

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

    /// A new provider, which may outlive this object.
    /// @throws PluginError
    std::shared_ptr<IProvider> buildProvider() const;

private:
    std::string path_;
    std::shared_ptr<void> handle_;
};

} // namespace storage::host
