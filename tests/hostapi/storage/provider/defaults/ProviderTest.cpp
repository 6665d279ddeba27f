#include "tests/hostapi/storage/provider/defaults/ProviderTest.h"

#include "hostapi/core/except/UtfConversion.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "inmemoryprovider/PluginEntry.h"

#include <array>
#include <utility>

using namespace foundation::storage::provider;

namespace foundation::storage::provider {

void PrintTo(const StorageIRI& iri, std::ostream* out) {
    *out << "IRI of path " << testing::PrintToString(iri.getPath()) << ", resolved "
         << testing::PrintToString(iri.getResolvedPath()) << (iri.hasParent() ? "" : ", root");
}

void PrintTo(const FolderEntry& entry, std::ostream* out) {
    *out << (entry.getType() == FolderEntry::EntryType::File ? "file " : "folder ")
         << core::except::toReadableUtf8(entry.getName());
}

} // namespace foundation::storage::provider

ProviderTest::ProviderTest() {
    buildProvider_V1(&provider_);
}

StorageIRI ProviderTest::at(std::u16string path) {
    return StorageIRI(std::move(path));
}

FolderEntry ProviderTest::file(std::u16string name) {
    return {std::move(name), FolderEntry::EntryType::File};
}

FolderEntry ProviderTest::folder(std::u16string name) {
    return {std::move(name), FolderEntry::EntryType::Folder};
}

void ProviderTest::makeFolder(const std::u16string& path) const {
    provider_->doCreateFolder(at(path));
}

void ProviderTest::makeFile(const std::u16string& path, std::string_view content) const {
    provider_->doCreateFile(at(path));
    writeAll(*provider_->doOpenStream(at(path), {}), content);
}

void ProviderTest::makeReadOnly(const std::u16string& path) const {
    provider_->doSetWritable(at(path), false);
}

std::string ProviderTest::contentOf(const std::u16string& path) const {
    const auto stream = provider_->doOpenReadOnlyStream(at(path));
    std::string content;
    std::array<char, 1000> block{};
    std::size_t count = 0;
    do {
        count = readUpTo(*stream, block.data(), block.size());
        content.append(block.data(), count);
    } while (count == block.size());
    return content;
}

ProviderTest::Names ProviderTest::namesIn(const std::u16string& path) const {
    Names names;
    for (const FolderEntry& entry : read(provider_->doListAll(at(path)))) {
        names.push_back(entry.getName());
    }
    return names;
}

ProviderTest::Entries ProviderTest::read(std::unique_ptr<IFolderEntryIterator> listing) {
    Entries entries;
    while (listing->hasNext()) {
        listing->step();
        entries.push_back(listing->getEntry());
    }
    return entries;
}
