#include <hostapi/storage/provider/ProviderEntryPoint.h>

#include <dlfcn.h>

#include <cstdio>
#include <memory>

using namespace foundation::storage::provider;

namespace {

/// Writes and reads a file and catches an error. Destroys all objects before the library is unloaded.
void use(ProviderEntryPoint* build) {
    std::shared_ptr<IProvider> provider;
    build(&provider);
    provider->doOpenStream(StorageIRI(u"/f"), {})->write("loaded", 6);
    char text[7] = {};
    provider->doOpenReadOnlyStream(StorageIRI(u"/f"))->read(text, 6);
    const auto listing = provider->doListAll(StorageIRI(u"/"));
    listing->step();
    try {
        provider->doCreateFile(StorageIRI(u"/f"));
    } catch (const Exception& error) {
        if (error.getErrorCode() == ErrorCode::AlreadyExists &&
            listing->getEntry() == FolderEntry(u"f", FolderEntry::EntryType::File)) {
            std::puts(text);
        }
    }
}

} // namespace

/// Loads the plug-in by its plain name from the system's library path.
int main() {
    void* library = dlopen("libqzstorageinmemoryprovider.so", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    use(reinterpret_cast<ProviderEntryPoint*>(dlsym(library, providerEntryPointName)));
    dlclose(library);
    return dlopen("libqzstorageinmemoryprovider.so", RTLD_NOW | RTLD_NOLOAD) == nullptr ? 0 : 1;
}
