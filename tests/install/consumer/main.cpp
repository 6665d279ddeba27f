#include <hostapi/storage/provider/ProviderEntryPoint.h>
#include <inmemoryprovider/PluginEntry.h>

#include <dlfcn.h>

#include <cstdio>
#include <memory>

using foundation::storage::provider::IProvider;
using foundation::storage::provider::ProviderEntryPoint;
using foundation::storage::provider::StorageIRI;

/// Builds a provider in both ways there are and makes a file in each.
int main(int argc, char** argv) {
    void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    if (library == nullptr) {
        std::fputs("usage: consumer PLUGIN\n", stderr);
        return 2;
    }
    auto* build = reinterpret_cast<ProviderEntryPoint*>(
        dlsym(library, foundation::storage::provider::providerEntryPointName));
    std::shared_ptr<IProvider> loaded;
    build(&loaded);
    const std::shared_ptr<IProvider> linked = storage::inmemoryprovider::buildInMemoryProvider();
    for (const auto& provider : {loaded, linked}) {
        provider->doCreateFile(StorageIRI(u"/f"));
        if (!provider->doExists(StorageIRI(u"/f"))) {
            return 1;
        }
    }
    return 0;
}
