#include "LoadedPlugin.h"

#include "PluginError.h"

#include <hostapi/storage/provider/ProviderEntryPoint.h>

#include <dlfcn.h>

#include <exception>
#include <utility>

using foundation::storage::provider::IProvider;
using foundation::storage::provider::ProviderEntryPoint;
using foundation::storage::provider::providerEntryPointName;

namespace {

// [owner]
/// A provider and its library. Members are destroyed in reverse order, so the library is released last.
struct ProviderInLibrary {
    std::shared_ptr<void> library;
    std::shared_ptr<IProvider> provider;
};
// [owner]

} // namespace

// [load]
LoadedPlugin::LoadedPlugin(const std::filesystem::path& path) : path_(path.string()) {
    // LOCAL separates the symbols of two plug-ins. Exceptions are still caught by type, because the host
    // itself is linked with the libraries that contain their classes.
    void* const handle = ::dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw PluginError(std::string("cannot be loaded: ") + ::dlerror());
    }
    library_.reset(handle, ::dlclose);
}
// [load]

// [build]
std::shared_ptr<IProvider> LoadedPlugin::buildProvider() const {
    auto* const build =
        reinterpret_cast<ProviderEntryPoint*>(::dlsym(library_.get(), providerEntryPointName));
    if (build == nullptr) {
        throw PluginError(path_ + ": not a provider plug-in: it exports no " + providerEntryPointName);
    }
    std::shared_ptr<IProvider> provider;
    try {
        build(&provider);
    } catch (const std::exception& failure) {
        throw PluginError(path_ + ": returned no provider: " + failure.what());
    }
    if (!provider) {
        throw PluginError(path_ + ": returned no provider");
    }
    // The host creates this control block itself, so copies of the pointer, also weak ones, do not depend on
    // the library.
    auto owner = std::make_shared<ProviderInLibrary>(ProviderInLibrary{library_, std::move(provider)});
    return std::shared_ptr<IProvider>(owner, owner->provider.get());
}
// [build]
