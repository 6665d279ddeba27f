#include "tests/memory/TreeShape.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/PluginEntry.h"

#include <utility>

namespace storage::tests {

using provider::IProvider;
using provider::StorageIRI;

const boost::posix_time::ptime pastTime(boost::gregorian::date(2001, 2, 3));

namespace {

EntryShape folder(std::u16string path) {
    return {std::move(path), EntryShape::Kind::Folder};
}

EntryShape fullFile(std::u16string path) {
    return {std::move(path), EntryShape::Kind::FullFile};
}

EntryShape roomyFile(std::u16string path) {
    return {std::move(path), EntryShape::Kind::RoomyFile};
}

EntryShape emptyFile(std::u16string path) {
    return {std::move(path), EntryShape::Kind::EmptyFile};
}

EntryShape readOnly(EntryShape entry) {
    entry.access = EntryShape::Access::ReadOnly;
    return entry;
}

StorageIRI at(std::u16string path) {
    return StorageIRI(std::move(path));
}

TreeShape rootAlone() {
    return {.name = "rootAlone",
            .spelling = TreeShape::Spelling::Short,
            .entries = {},
            .newAtTop = at(u"/t"),
            .newEntry = at(u"/n"),
            .newBelowNew = at(u"/n/n/n")};
}

TreeShape smallTree() {
    return {.name = "smallTree",
            .entries = {folder(u"/the folder"), folder(u"/the folder/s"), folder(u"/the folder/s/deep"),
                        folder(u"/its neighbour"), folder(u"/empty folder"), fullFile(u"/f"), fullFile(u"/g"),
                        readOnly(fullFile(u"/the folder/x")), fullFile(u"/the folder/s/deep/y"),
                        fullFile(u"/its neighbour/other file"), roomyFile(u"/its neighbour/roomy file"),
                        emptyFile(u"/its neighbour/empty file")},
            .newAtTop = at(u"/an entry that is not there yet"),
            .newEntry = at(u"/the folder/z new entry with a long name"),
            .newBelowNew = at(u"/its neighbour/new folder/another new folder/the last new folder"),
            .file = at(u"/the folder/s/deep/y"),
            .otherFile = at(u"/its neighbour/other file"),
            .roomyFile = at(u"/its neighbour/roomy file"),
            .emptyFile = at(u"/its neighbour/empty file"),
            .folder = at(u"/the folder"),
            .newInFolder = at(u"/the folder/s/new entry"),
            .removableFolder = at(u"/its neighbour"),
            .emptyFolder = at(u"/empty folder"),
            .readOnlyFile = at(u"/the folder/x")};
}

TreeShape shortPaths() {
    return {.name = "shortPaths",
            .spelling = TreeShape::Spelling::Short,
            .entries = {folder(u"/a"), folder(u"/a/b"), folder(u"/e"), fullFile(u"/f"), fullFile(u"/a/g"),
                        fullFile(u"/a/b/h"), roomyFile(u"/r"), emptyFile(u"/z")},
            .newAtTop = at(u"/t"),
            .newEntry = at(u"/n"),
            .newBelowNew = at(u"/n/n/n"),
            .file = at(u"/f"),
            .otherFile = at(u"/a/g"),
            .roomyFile = at(u"/r"),
            .emptyFile = at(u"/z"),
            .folder = at(u"/a"),
            .newInFolder = at(u"/a/n"),
            .removableFolder = at(u"/a"),
            .emptyFolder = at(u"/e")};
}

TreeShape longNames() {
    const std::u16string top = u"/a folder whose name is rather long";
    const std::u16string inner = top + u"/and a folder in it whose name is even longer";
    const std::u16string bare = u"/a folder with a long name and nothing in it";
    const std::u16string file = inner + u"/a file whose name takes some room";
    const std::u16string roomy = top + u"/a file that has room for some more bytes";
    const std::u16string hollow = top + u"/a file that has no bytes at all";
    const std::u16string other = u"/another file whose name takes some room";
    return {.name = "longNames",
            .spelling = TreeShape::Spelling::LongNames,
            .entries = {folder(top), folder(inner), folder(bare), fullFile(file), roomyFile(roomy),
                        emptyFile(hollow), fullFile(other)},
            .newAtTop = at(u"/an entry that is not there yet"),
            .newEntry = at(inner + u"/an entry that is not there yet"),
            .newBelowNew = at(bare + u"/a new folder in it/and one in that/and the last of them"),
            .file = at(file),
            .otherFile = at(other),
            .roomyFile = at(roomy),
            .emptyFile = at(hollow),
            .folder = at(top),
            .newInFolder = at(inner + u"/an entry that is not there yet"),
            .removableFolder = at(top),
            .emptyFolder = at(bare)};
}

TreeShape deepTree() {
    constexpr int levels = 12;
    TreeShape shape{.name = "deepTree",
                    .entries = {folder(u"/empty folder"), fullFile(u"/other file"),
                                folder(u"/the first level"), fullFile(u"/the first level/f")},
                    .newAtTop = at(u"/an entry that is not there yet"),
                    .newEntry = at(u"/empty folder/new entry"),
                    .newBelowNew = {},
                    .otherFile = at(u"/other file"),
                    .folder = at(u"/the first level"),
                    .removableFolder = at(u"/the first level"),
                    .emptyFolder = at(u"/empty folder")};
    std::u16string path = u"/the first level";
    for (int level = 2; level <= levels; ++level) {
        path += u"/d";
        shape.entries.push_back(folder(path));
        shape.entries.push_back(fullFile(path + u"/f"));
    }
    shape.newBelowNew = at(path + u"/new/new/new");
    shape.file = at(path + u"/f");
    shape.newInFolder = at(path + u"/new entry");
    return shape;
}

TreeShape wideFolder() {
    constexpr int files = 200;
    TreeShape shape{.name = "wideFolder",
                    .spelling = TreeShape::Spelling::Short, // limits the number of allocations
                    .entries = {folder(u"/w"), folder(u"/e"), fullFile(u"/o")},
                    .newAtTop = at(u"/t"),
                    .newEntry = at(u"/w/n"),
                    .newBelowNew = at(u"/w/n/n/n"),
                    .file = at(u"/w/f100"),
                    .otherFile = at(u"/o"),
                    .folder = at(u"/w"),
                    .newInFolder = at(u"/w/n"),
                    .removableFolder = at(u"/w"),
                    .emptyFolder = at(u"/e")};
    for (int number = 0; number < files; ++number) {
        std::u16string name = u"/w/f";
        for (const char digit : std::to_string(number)) {
            name += static_cast<char16_t>(digit);
        }
        shape.entries.push_back(fullFile(name));
    }
    return shape;
}

TreeShape readOnlyEntries() {
    return {.name = "readOnlyEntries",
            .entries = {folder(u"/open folder"), readOnly(fullFile(u"/open folder/a locked file")),
                        emptyFile(u"/open folder/empty file"), readOnly(folder(u"/locked folder")),
                        fullFile(u"/locked folder/plain file"), folder(u"/locked folder/empty folder"),
                        folder(u"/guarded folder"), fullFile(u"/guarded folder/a file"),
                        readOnly(folder(u"/guarded folder/locked folder")),
                        fullFile(u"/guarded folder/locked folder/a file"), folder(u"/empty folder"),
                        fullFile(u"/plain file"), fullFile(u"/another plain file")},
            .newAtTop = at(u"/an entry that is not there yet"),
            .newEntry = at(u"/open folder/new entry"),
            .newBelowNew = at(u"/open folder/new folder/another new folder/the last new folder"),
            .file = at(u"/plain file"),
            .otherFile = at(u"/another plain file"),
            .emptyFile = at(u"/open folder/empty file"),
            .folder = at(u"/open folder"),
            .newInFolder = at(u"/open folder/new entry"),
            .emptyFolder = at(u"/empty folder"),
            .readOnlyFile = at(u"/open folder/a locked file"),
            .readOnlyFolder = at(u"/locked folder"),
            .fileInReadOnlyFolder = at(u"/locked folder/plain file"),
            .emptyFolderInReadOnlyFolder = at(u"/locked folder/empty folder"),
            .newInReadOnlyFolder = at(u"/locked folder/new entry"),
            .guardedFolder = at(u"/guarded folder")};
}

/// A doubled separator creates a second entry of the same name in the same folder. A tripled separator
/// creates a folder with an empty name.
TreeShape doubledSeparators() {
    return {.name = "doubledSeparators",
            .entries = {folder(u"/a folder"), fullFile(u"/a folder//file"),
                        fullFile(u"/a folder/another file"), folder(u"/a folder//"),
                        fullFile(u"/a folder///file without a folder"), folder(u"/empty folder"),
                        fullFile(u"/other folder's file")},
            .newAtTop = at(u"/an entry that is not there yet"),
            .newEntry = at(u"/empty folder//new entry"),
            .newBelowNew = at(u"/empty folder//new folder/new folder/new folder"),
            .file = at(u"/a folder//file"),
            .otherFile = at(u"/other folder's file"),
            .folder = at(u"/a folder"),
            .newInFolder = at(u"/a folder//new entry"),
            .emptyFolder = at(u"/empty folder")};
}

void writeBytes(const IProvider& provider, const StorageIRI& iri, const EntryShape& entry) {
    const std::string bytes = "the bytes of " + std::string(entry.path.begin(), entry.path.end());
    const auto stream = provider.doOpenStream(iri, {});
    stream->write(bytes.data(), static_cast<long>(bytes.size()));
    if (entry.kind == EntryShape::Kind::RoomyFile) {
        stream->write("!", 1); // growing at least doubles the capacity
    }
}

void makeEntry(const IProvider& provider, const EntryShape& entry) {
    const StorageIRI iri(entry.path);
    switch (entry.kind) {
    case EntryShape::Kind::Folder:
        provider.doCreateFolder(iri);
        break;
    case EntryShape::Kind::EmptyFile:
        provider.doCreateFile(iri);
        break;
    case EntryShape::Kind::FullFile:
    case EntryShape::Kind::RoomyFile:
        writeBytes(provider, iri, entry);
        break;
    }
}

} // namespace

const std::vector<TreeShape>& treeShapes() {
    static const std::vector<TreeShape> shapes{rootAlone(),       smallTree(),        shortPaths(),
                                               longNames(),       deepTree(),         wideFolder(),
                                               readOnlyEntries(), doubledSeparators()};
    return shapes;
}

std::shared_ptr<IProvider> build(const TreeShape& shape) {
    std::shared_ptr<IProvider> provider = inmemoryprovider::buildInMemoryProvider();
    for (const EntryShape& entry : shape.entries) {
        makeEntry(*provider, entry);
    }
    for (const EntryShape& entry : shape.entries) {
        if (entry.access == EntryShape::Access::ReadOnly) {
            provider->doSetWritable(StorageIRI(entry.path), false);
        }
    }
    return provider;
}

void age(const IProvider& provider, const TreeShape& shape) {
    provider.doSetLastModified(StorageIRI(u"/"), pastTime);
    for (const EntryShape& entry : shape.entries) {
        const StorageIRI iri(entry.path);
        if (provider.doExists(iri)) {
            provider.doSetLastModified(iri, pastTime);
        }
    }
}

} // namespace storage::tests
