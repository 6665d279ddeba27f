#include <hostapi/storage/iostream/FileIostream.h>
#include <hostapi/storage/provider/ListingRange.h>
#include <hostapi/storage/provider/WholeFile.h>
#include <inmemoryprovider/PluginEntry.h>

#include <cstdio>
#include <memory>
#include <string>

using namespace foundation::storage::provider;

/// A program that links with the plug-in: writes and reads a file of its own storage, and catches an error.
int main() {
    const std::shared_ptr<storage::inmemoryprovider::InMemoryProvider> made =
        storage::inmemoryprovider::buildInMemoryProvider();
    made->doCreateFolder(StorageIRI(u"/a"));
    const std::shared_ptr<const IProvider> provider = made;
    FileIostream(openNewFile(*provider, StorageIRI(u"/a/f"))) << "linked";
    std::string text;
    for (const FolderEntry& entry : list(*provider, StorageIRI(u"/a"))) {
        text += readFile(*provider, StorageIRI(u"/a/" + entry.getName()));
    }
    try {
        provider->doRemoveFolder(StorageIRI(u"/a"));
    } catch (const Exception& error) {
        if (error.getErrorCode() == ErrorCode::FolderNotEmpty && error.getIRI() == StorageIRI(u"/a") &&
            error.getIRI() != StorageIRI(u"/b")) {
            std::puts(text.c_str());
        }
    }
}
