#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <memory>
#include <utility>

namespace storage::host {

/// A provider of a plug-in, together with the library that contains its code.
///
/// Owns the provider and shares the library. The provider is destroyed before the library is released.
/// Streams, listings, path comparators and exceptions of the plug-in's own classes do not keep the library
/// loaded: destroy them before this object, or keep a PluginLibrary.
/// Invariant: the provider is not null, except in a moved-from object.
/// Thread safety: the same as that of the plug-in's provider.
class LoadedProvider {
public:
    using IProvider = provider::IProvider;

    /// @param library   its deleter unloads the library
    /// @param provider  created by that library, not null, not shared
    LoadedProvider(std::shared_ptr<void> library, std::shared_ptr<IProvider> provider) noexcept
        : library_(std::move(library)), provider_(std::move(provider)) {}
    LoadedProvider(LoadedProvider&&) noexcept = default;
    LoadedProvider(const LoadedProvider&) = delete;
    LoadedProvider& operator=(const LoadedProvider&) = delete;
    LoadedProvider&
    operator=(LoadedProvider&&) = delete; ///< it would release the library before the old provider
    ~LoadedProvider() = default;

    IProvider& operator*() const noexcept { return *provider_; }
    IProvider* operator->() const noexcept { return provider_.get(); }

private:
    std::shared_ptr<void> library_;
    std::shared_ptr<IProvider> provider_; ///< declared after the library: destroyed before it
};

} // namespace storage::host
