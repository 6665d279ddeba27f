#pragma once

#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <dlfcn.h>

#include <memory>
#include <stdexcept>

namespace storage::tests {

/// A plug-in, loaded with RTLD_LOCAL.
///
/// Owns a handle of the library. Providers, streams and listings of the plug-in must be destroyed before this
/// object. Thread-safe: several threads may build providers at the same time.
class LoadedPlugin {
public:
    using IProvider = provider::IProvider;

    /// @throws std::runtime_error with the dynamic linker's error message
    explicit LoadedPlugin(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;
    ~LoadedPlugin() { dlclose(handle_); }

    std::shared_ptr<IProvider> build() const {
        using provider::ProviderEntryPoint;
        using provider::providerEntryPointName;
        auto* entryPoint = reinterpret_cast<ProviderEntryPoint*>(dlsym(handle_, providerEntryPointName));
        if (entryPoint == nullptr) {
            throw std::runtime_error(dlerror());
        }
        std::shared_ptr<IProvider> provider;
        entryPoint(&provider);
        return provider;
    }

private:
    void* handle_;
};

/// Whether the library is loaded in this process, by any handle.
inline bool pluginIsLoaded(const char* path) {
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

} // namespace storage::tests
