#pragma once

#include <hostapi/storage/provider/ByteStream.h>
#include <hostapi/storage/provider/IFolderEntryIterator.h>
#include <hostapi/storage/provider/IProvider.h>

#include <filesystem>
#include <memory>
#include <string>

/// A plug-in in this process. Every object that it returns holds a reference to the library. The library is
/// unloaded with the last of these objects; this object may be destroyed earlier.
class LoadedPlugin {
public:
    using ByteStream = foundation::storage::provider::ByteStream;
    using IFolderEntryIterator = foundation::storage::provider::IFolderEntryIterator;
    using IProvider = foundation::storage::provider::IProvider;

    /// @throws PluginError
    explicit LoadedPlugin(const std::filesystem::path& path);

    /// Returns a new provider with its own storage.
    /// @throws PluginError
    std::shared_ptr<IProvider> buildProvider() const;

    // [hold]
    /// Makes an object of this plug-in's provider (a stream, a listing, a clone) hold a reference to the
    /// library.
    template <class T>
    std::shared_ptr<T> hold(std::unique_ptr<T> object) const {
        // The deleter destroys the object first, by code of the library. Then it releases the library itself.
        return std::shared_ptr<T>(object.release(), [library = library_](T* pointer) { delete pointer; });
    }
    // [hold]

private:
    std::string path_;
    std::shared_ptr<void> library_;
};
