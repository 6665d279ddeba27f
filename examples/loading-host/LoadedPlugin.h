#pragma once

#include <hostapi/storage/provider/ByteStream.h>
#include <hostapi/storage/provider/IFolderEntryIterator.h>
#include <hostapi/storage/provider/IProvider.h>

#include <filesystem>
#include <memory>
#include <string>

/// A plug-in in this process. This object and every object that it returns hold a reference to the library.
/// The library is unloaded with the last of them.
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
        // The deleter calls the object's destructor in the library. Its own destructor releases the library.
        return std::shared_ptr<T>(object.release(), [library = library_](T* pointer) { delete pointer; });
    }
    // [hold]

private:
    std::string path_;
    std::shared_ptr<void> library_;
};
