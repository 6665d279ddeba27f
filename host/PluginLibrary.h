#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <string>

namespace storage::host {

/// A provider plug-in, loaded.
///
/// Owns the library, which is unloaded with the object. Every provider made by it, every stream and listing,
/// and every exception thrown by them must be gone by then. Thread safety: one object is for one thread.
class PluginLibrary {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param path  the shared library on disk
    /// @throws PluginError
    explicit PluginLibrary(const std::string& path);

    /// A new provider.
    /// @throws PluginError
    std::shared_ptr<IProvider> buildProvider() const;

private:
    struct Closer {
        void operator()(void* handle) const;
    };

    std::string path_;
    std::unique_ptr<void, Closer> handle_;
};

} // namespace storage::host
