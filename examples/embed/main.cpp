#include "ByteStreamDevice.h"

#include <hostapi/core/except/UtfConversion.h>
#include <hostapi/storage/provider/ByteStreamTransfer.h>
#include <hostapi/storage/provider/IProvider.h>
#include <inmemoryprovider/PluginEntry.h>

#include <boost/iostreams/stream.hpp>

#include <exception>
#include <iostream>
#include <memory>
#include <string>

using namespace foundation::storage::provider;
using foundation::core::except::toReadableUtf8;

namespace {

// [write]
using FileStream = boost::iostreams::stream<ByteStreamDevice>;

void writeShoppingList(const IProvider& provider) {
    provider.doCreateFolder(StorageIRI(u"/lists"));

    // Without options a missing file is created, and what is in an existing one is kept.
    FileStream file(ByteStreamDevice(provider.doOpenStream(StorageIRI(u"/lists/shopping"), {})));
    file.exceptions(std::ios_base::badbit); // else the C++ stream swallows what the storage throws
    for (const char* item : {"bread", "apples", "tea"}) {
        file << item << '\n';
    }
    file.flush(); // a C++ stream holds bytes back; the storage does not
}
// [write]

// [read]
void printFile(const IProvider& provider, const StorageIRI& location) {
    FileStream file(ByteStreamDevice(provider.doOpenReadOnlyStream(location)));
    for (std::string line; std::getline(file, line);) {
        std::cout << "  " << line << '\n';
    }
}
// [read]

// [list]
void printFolder(const IProvider& provider) {
    // A snapshot: it shows the folder as it was at the call.
    const std::unique_ptr<IFolderEntryIterator> listing = provider.doListAll(StorageIRI(u"/lists"));
    while (listing->hasNext()) {
        listing->step();
        const FolderEntry entry = listing->getEntry();
        const StorageIRI location(u"/lists/" + entry.getName());
        const ExtendedAttributes attributes = provider.doGetExtendedAttributes(location);
        std::cout << toReadableUtf8(entry.getName()) << ": " << attributes.size << " bytes\n";
    }
}
// [list]

// [append]
ByteStreamOpenOptions appending() {
    ByteStreamOpenOptions options;
    options.existence = ByteStreamExistence::MustExist;
    options.append = ByteStreamAppend::AppendAtEnd;
    return options;
}
// [append]

// [moved]
void moveFileThatIsOpen(const IProvider& provider) {
    const StorageIRI before(u"/lists/shopping");
    const StorageIRI after(u"/lists/shopping on Saturday");

    const std::unique_ptr<ByteStream> stream = provider.doOpenStream(before, appending());
    provider.doMoveFile(before, after, ReplacementPolicy::RefuseExisting);
    writeAll(*stream, "salt\n"); // the stream went with the file
    printFile(provider, after);

    provider.doRemoveFile(after);
    stream->seek(0, std::ios_base::beg);
    char bytes[5] = {};
    readExactly(*stream, bytes, sizeof bytes); // the bytes live as long as a stream holds them
    std::cout << "removed, but still to be read: " << std::string(bytes, sizeof bytes) << '\n';
}
// [moved]

// [error]
void handleFailures(const IProvider& provider) {
    try {
        provider.doCreateFile(StorageIRI(u"/lists/food/fruit"));
    } catch (const Exception& failure) {
        if (failure.getErrorCode() == ErrorCode::NotFound) { // to be decided on: the code
            provider.doCreateFolderRecursive(StorageIRI(u"/lists/food"));
            provider.doCreateFile(failure.getIRI()); // and the location concerned
        }
        std::cout << failure.what() << '\n'; // to be shown: both, in words
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
        printFolder(*provider);
        moveFileThatIsOpen(*provider);
        handleFailures(*provider);
        return 0;
    } catch (const std::exception& failure) { // out of memory, or an entry that was not expected
        std::cerr << "embed: " << failure.what() << '\n';
        return 1;
    }
}
