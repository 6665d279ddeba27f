#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <memory>
#include <utility>

namespace storage::host {

/// A provider of a plug-in, with the library that its code is in.
///
/// Owns the provider and shares the library. The provider is always destroyed before the library is released. Streams,
/// listings, path comparators and exceptions of the plug-in's own classes do not hold the library: destroy them before
/// this object, or hold the library by a PluginLibrary.
/// Invariant: there is a provider, except in an object that was moved from.
/// Thread safety: as the plug-in's provider.
class LoadedProvider {
public:
    using IProvider = foundation::storage::provider::IProvider;

    /// @param library   unloads the library when its last copy is destroyed
    /// @param provider  made by that library, not null, owned by nobody else
    LoadedProvider(std::shared_ptr<void> library, std::shared_ptr<IProvider> provider) noexcept
        : library_(std::move(library)), provider_(std::move(provider)) {}
    LoadedProvider(LoadedProvider&&) noexcept = default;
    LoadedProvider(const LoadedProvider&) = delete;
    LoadedProvider& operator=(const LoadedProvider&) = delete;
    LoadedProvider&
    operator=(LoadedProvider&&) = delete; ///< would release the library before the old provider
    ~LoadedProvider() = default;

    IProvider& operator*() const noexcept { return *provider_; }
    IProvider* operator->() const noexcept { return provider_.get(); }

private:
    std::shared_ptr<void> library_;
    std::shared_ptr<IProvider> provider_; ///< declared after the library: destroyed before it
};

} // namespace storage::host
