#include "LoadedPlugin.h"
#include "PluginError.h"
#include "PluginFolders.h"

#include <hostapi/storage/provider/ByteStreamTransfer.h>
#include <hostapi/storage/provider/IProvider.h>

#include <dlfcn.h>

#include <cstddef>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

using namespace foundation::storage::provider;

namespace {

// [outlive]
/// Returns a stream that outlives its provider. It holds the library and the bytes of its file.
std::shared_ptr<ByteStream> streamFrom(const std::filesystem::path& path) {
    const LoadedPlugin plugin(path);
    const std::shared_ptr<IProvider> provider = plugin.buildProvider();
    const StorageIRI file(u"/greeting");
    writeAll(*provider->doOpenStream(file, {}), "hello");
    return plugin.hold(provider->doOpenReadOnlyStream(file));
}
// [outlive]

bool isLoaded(const std::filesystem::path& path) {
    void* const handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return false;
    }
    ::dlclose(handle);
    return true;
}

void use(const std::filesystem::path& path) {
    std::shared_ptr<ByteStream> stream = streamFrom(path);
    char bytes[5] = {};
    readExactly(*stream, bytes, sizeof bytes);
    std::cout << "read: " << std::string(bytes, sizeof bytes) << '\n';

    std::cout << "with an open stream, the library is " << (isLoaded(path) ? "loaded" : "unloaded") << '\n';
    stream.reset();
    std::cout << "after closing it, the library is " << (isLoaded(path) ? "loaded" : "unloaded") << '\n';
}

} // namespace

/// Finds a provider by name, uses it and unloads it: loading-host NAME FOLDER...
int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: loading-host NAME FOLDER...\n"
                     "Searches the folders for the provider NAME, for example inmemory.\n";
        return 2;
    }
    try {
        use(PluginFolders({argv + 2, argv + argc}).find(argv[1]));
        return 0;
    } catch (const PluginError& failure) {
        std::cerr << "loading-host: " << failure.what() << '\n';
    } catch (const Exception& failure) {
        std::cerr << "loading-host: storage error: " << failure.what() << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "loading-host: " << failure.what() << '\n';
    }
    return 1;
}
