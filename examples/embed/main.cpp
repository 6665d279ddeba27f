#include <hostapi/core/except/UtfConversion.h>
#include <hostapi/storage/iostream/FileIostream.h>
#include <hostapi/storage/provider/ByteStreamTransfer.h>
#include <hostapi/storage/provider/IProvider.h>
#include <hostapi/storage/provider/ListingRange.h>
#include <hostapi/storage/provider/WholeFile.h>
#include <inmemoryprovider/PluginEntry.h>

#include <exception>
#include <iostream>
#include <memory>
#include <string>

using namespace foundation::storage::provider;
using foundation::core::except::toReadableUtf8;

namespace {

// [write]
void writeShoppingList(const IProvider& provider) {
    provider.doCreateFolder(StorageIRI(u"/lists"));

    FileIostream file(
        provider.doOpenStream(StorageIRI(u"/lists/shopping"), ByteStreamOpenOptions::createOrEmpty()));
    for (const char* item : {"bread", "apples", "tea"}) {
        file << item << '\n';
    }
    file.flush(); // throws if the bytes cannot be written; the destructor does not throw
}
// [write]

// [read]
void printFile(const IProvider& provider, const StorageIRI& location) {
    FileIostream file(provider.doOpenReadOnlyStream(location));
    for (std::string line; std::getline(file, line);) {
        std::cout << "  " << line << '\n';
    }
}
// [read]

// [whole]
void keepCopy(const IProvider& provider) {
    const std::string items = readFile(provider, StorageIRI(u"/lists/shopping"));
    writeFile(provider, StorageIRI(u"/lists/copy"), items);
}
// [whole]

// [list]
void printFolder(const IProvider& provider) {
    // A snapshot: it shows the state of the folder at the call.
    for (const FolderEntry& entry : list(provider, StorageIRI(u"/lists"))) {
        const StorageIRI location(u"/lists/" + entry.getName());
        const ExtendedAttributes attributes = provider.doGetExtendedAttributes(location);
        std::cout << toReadableUtf8(entry.getName()) << ": " << attributes.size << " bytes\n";
    }
}
// [list]

// [moved]
void moveFileThatIsOpen(const IProvider& provider) {
    const StorageIRI before(u"/lists/shopping");
    const StorageIRI after(u"/lists/shopping on Saturday");

    const std::unique_ptr<ByteStream> stream =
        provider.doOpenStream(before, ByteStreamOpenOptions::createOrAppend());
    provider.doMoveFile(before, after, ReplacementPolicy::RefuseExisting);
    writeAll(*stream, "salt\n"); // the stream follows the file
    printFile(provider, after);

    provider.doRemoveFile(after);
    stream->seek(0, std::ios_base::beg);
    char bytes[5] = {};
    readExactly(*stream, bytes, sizeof bytes); // the bytes exist as long as a stream holds them
    std::cout << "removed, still readable: " << std::string(bytes, sizeof bytes) << '\n';
}
// [moved]

// [error]
void handleFailures(const IProvider& provider) {
    try {
        provider.doCreateFile(StorageIRI(u"/lists/food/fruit"));
    } catch (const Exception& failure) {
        if (failure.getErrorCode() == ErrorCode::NotFound) { // for decisions: the error code
            provider.doCreateFolderRecursive(StorageIRI(u"/lists/food"));
            provider.doCreateFile(failure.getIRI()); // and the location
        }
        std::cout << failure.what() << '\n'; // for the user: both as text
    }
}
// [error]

} // namespace

int main() {
    try {
        // [build]
        const std::shared_ptr<IProvider> provider = storage::inmemoryprovider::buildInMemoryProvider();
        // [build]
        writeShoppingList(*provider);
        printFile(*provider, StorageIRI(u"/lists/shopping"));
        keepCopy(*provider);
        printFolder(*provider);
        moveFileThatIsOpen(*provider);
        handleFailures(*provider);
        return 0;
    } catch (const std::exception& failure) { // out of memory, or an unexpected entry
        std::cerr << "embed: " << failure.what() << '\n';
        return 1;
    }
}
