#include <inmemoryprovider/PluginEntry.h>

#include <cstdio>
#include <memory>

using namespace foundation::storage::provider;

/// A program that is linked with the plug-in: writes and reads a file in a storage of its own, and meets an error.
int main() {
    const std::shared_ptr<storage::inmemoryprovider::InMemoryProvider> made =
        storage::inmemoryprovider::buildInMemoryProvider();
    made->doCreateFolder(StorageIRI(u"/a"));
    const std::shared_ptr<const IProvider> provider = made;
    provider->doOpenStream(StorageIRI(u"/a/f"), {})->write("linked", 6);
    char text[7] = {};
    provider->doOpenReadOnlyStream(StorageIRI(u"/a/f"))->read(text, 6);
    try {
        provider->doRemoveFolder(StorageIRI(u"/a"));
    } catch (const Exception& error) {
        if (error.getErrorCode() == ErrorCode::FolderNotEmpty && error.getIRI() == StorageIRI(u"/a") &&
            error.getIRI() != StorageIRI(u"/b")) {
            std::puts(text);
        }
    }
}
