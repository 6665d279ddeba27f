#pragma once

#include "hostapi/storage/provider/ProviderEntryPoint.h"

#include <dlfcn.h>

#include <memory>
#include <stdexcept>

namespace storage::tests {

/// A plug-in as any host loads it: none of its symbols become visible to others.
///
/// Owns one loading of the library; what comes out of it must be gone before the object. Thread safety: a
/// value that several threads may build providers from.
class LoadedPlugin {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @throws std::runtime_error with the dynamic linker's reason
    explicit LoadedPlugin(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (handle_ == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;
    ~LoadedPlugin() { dlclose(handle_); }

    std::shared_ptr<IProvider> build() const {
        using foundation::storage::provider::ProviderEntryPoint;
        using foundation::storage::provider::providerEntryPointName;
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

/// Whether the library is in this process, whoever loaded it.
inline bool pluginIsLoaded(const char* path) {
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

} // namespace storage::tests
