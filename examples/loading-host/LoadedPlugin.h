#pragma once

#include <hostapi/storage/provider/ByteStream.h>
#include <hostapi/storage/provider/IFolderEntryIterator.h>
#include <hostapi/storage/provider/IProvider.h>

#include <filesystem>
#include <memory>
#include <string>

/// A plug-in in this process. Everything that comes out of it holds the library, which is unloaded with the last of them
/// all; this object itself may go earlier.
class LoadedPlugin {
public:
    using ByteStream = foundation::storage::provider::ByteStream;
    using IFolderEntryIterator = foundation::storage::provider::IFolderEntryIterator;
    using IProvider = foundation::storage::provider::IProvider;

    /// @throws PluginError
    explicit LoadedPlugin(const std::filesystem::path& path);

    /// A new provider, with a storage of its own.
    /// @throws PluginError
    std::shared_ptr<IProvider> buildProvider() const;

    // [hold]
    /// What a provider of this plug-in has handed out - a stream, a listing, a clone - so that it holds the library.
    template <class T>
    std::shared_ptr<T> hold(std::unique_ptr<T> object) const {
        // The deleter is the last to let go: first the object is destroyed, by code of the library, then the library.
        return std::shared_ptr<T>(object.release(), [library = library_](T* pointer) { delete pointer; });
    }
    // [hold]

private:
    std::string path_;
    std::shared_ptr<void> library_;
};
