#include "tests/support/TreeSnapshot.h"

#include "host/support/Utf.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>

namespace fs = std::filesystem;
using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;

namespace {

std::string bytesOf(const IProvider& provider, const StorageIRI& iri) {
    std::string bytes(provider.doGetFileAttributes(iri).getSize(), '\0');
    const auto stream = provider.doOpenReadOnlyStream(iri);
    readExactly(*stream, bytes.data(), bytes.size());
    return bytes;
}

} // namespace

TreeSnapshot snapshotOf(const IProvider& provider) {
    TreeSnapshot snapshot;
    const auto entries = provider.doListAllRecursive(StorageIRI(u"/"));
    while (entries->hasNext()) {
        entries->step();
        const FolderEntry entry = entries->getEntry();
        const std::string path = '/' + storage::host::printable(entry.getName());
        if (entry.getType() == FolderEntry::EntryType::Folder) {
            snapshot[path + '/'] = "folder";
        } else {
            snapshot[path] = bytesOf(provider, StorageIRI(u'/' + entry.getName()));
        }
    }
    return snapshot;
}

TreeSnapshot snapshotOf(const std::string& diskFolder) {
    TreeSnapshot snapshot;
    if (!fs::exists(diskFolder)) {
        return snapshot;
    }
    for (const auto& entry : fs::recursive_directory_iterator(diskFolder)) {
        const std::string path = entry.path().string().substr(diskFolder.size());
        if (entry.is_directory() && !entry.is_symlink()) {
            snapshot[path + '/'] = "folder";
        } else if (entry.is_regular_file() && !entry.is_symlink()) {
            snapshot[path] = readFile(entry.path());
        }
    }
    return snapshot;
}
