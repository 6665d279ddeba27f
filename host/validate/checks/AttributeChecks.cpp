#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/TreeDescription.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <fmt/format.h>

namespace storage::host::checks {

using namespace provider;

namespace attribute_checks {
namespace {

void expectExistence(const IProvider& provider, const StorageIRI& iri, EntryExistence expected,
                     std::string_view what) {
    const bool fileExists = provider.doFileExists(iri);
    const bool folderExists = provider.doFolderExists(iri);
    expect(fileExists == (expected == EntryExistence::File) &&
               folderExists == (expected == EntryExistence::Folder),
           fmt::format("{}: doFileExists returns {}, doFolderExists {}", what, fileExists, folderExists));
}

void existenceOfFile(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "");
    expectExistence(context.provider(), context.at(u"f"), EntryExistence::File, "a file");
}

void existenceOfFolder(CheckContext& context) {
    context.provider().doCreateFolder(context.at(u"d"));
    expectExistence(context.provider(), context.at(u"d"), EntryExistence::Folder, "a folder");
}

void existenceOfMissing(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "");
    expectExistence(provider, context.at(u"missing"), EntryExistence::Missing, "a missing entry");
    expectExistence(provider, context.at(u"missing/e"), EntryExistence::Missing,
                    "an entry below a missing folder");
    expectExistence(provider, context.at(u"f/e"), EntryExistence::Missing, "an entry below a file");
}

void existenceOfRoot(CheckContext& context) {
    expectExistence(context.provider(), StorageIRI(u"/"), EntryExistence::Folder, "the root");
}

/// The size must stay correct when the file is overwritten with more bytes.
void sizeOfFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    provider.doCreateFile(file);
    for (const unsigned long size : {0UL, 1UL, 4096UL, 70'001UL}) {
        const std::string bytes(size, 'x');
        if (size != 0) {
            writeAll(*openStream(provider, file), bytes);
        }
        const unsigned long reported = provider.doGetFileAttributes(file).getSize();
        expect(reported == size,
               fmt::format("the attributes of a file of {} bytes have the size {}", size, reported));
    }
}

void sizeWhileOpen(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    const auto stream = openStream(provider, file);
    writeAll(*stream, "12345");
    expect(provider.doGetFileAttributes(file).getSize() == 5,
           "a file's size does not include the bytes that an open stream has written");
}

template <const EntryKind& kind>
void newEntryIsWritable(CheckContext& context) {
    (context.provider().*kind.create)(context.at(u"e"));
    expect(kind.isWritable(context.provider(), context.at(u"e")),
           fmt::format("a new {} is read-only", kind.name));
}

template <const EntryKind& kind>
void attributesOfMissing(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const char16_t* path : {u"missing", u"missing/e"}) {
        const StorageIRI entry = context.at(path);
        expectRefusal(
            context, [&] { kind.lastModified(provider, entry); }, ErrorCode::NotFound, entry,
            fmt::format("asking for the attributes of a missing {}", kind.name));
    }
}

template <const EntryKind& asked, const EntryKind& there>
void attributesOfOtherKind(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*there.create)(entry);
    expectRefusal(
        context, [&] { asked.lastModified(provider, entry); }, ErrorCode::NotFound, entry,
        fmt::format("asking for the {} attributes of a {}", asked.name, there.name));
}

template <const EntryKind& kind>
void attributesBelowFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "");
    const StorageIRI entry = context.at(u"f/e");
    expectRefusal(
        context, [&] { kind.lastModified(provider, entry); }, ErrorCode::NotFound, entry,
        fmt::format("asking for the attributes of a {} below a file", kind.name));
}

void fileAttributesOfRoot(CheckContext& context) {
    const StorageIRI root(u"/");
    expectRefusal(
        context, [&] { context.provider().doGetFileAttributes(root); }, ErrorCode::NotFound, root,
        "asking for the file attributes of the root");
}

void folderAttributesOfRoot(CheckContext& context) {
    const IProvider& provider = context.provider();
    expect(provider.doGetFolderAttributes(StorageIRI(u"/")).isWritable(),
           "the root of a new storage is read-only");
    expect(provider.doGetFolderAttributes(StorageIRI(u"/")).getLastModified() ==
               provider.doGetFolderAttributes(context.at(u"")).getLastModified(),
           "the root's time is not that of the folder that was added to it last");
}

/// Calls every operation that only reads, on a folder that is not empty.
void lookAtEverything(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const char16_t* path : {u"d", u"d/f", u"d/missing"}) {
        provider.doFileExists(context.at(path));
        provider.doFolderExists(context.at(path));
    }
    provider.doGetFileAttributes(context.at(u"d/f"));
    provider.doGetFolderAttributes(context.at(u"d"));
    provider.doListAll(context.at(u"d"));
    provider.doListFiles(context.at(u"d"));
    provider.doListFolders(context.at(u"d"));
    contentOf(provider, context.at(u"d/f"));
}

void lookingChangesNothing(CheckContext& context) {
    context.provider().doCreateFolder(context.at(u"d"));
    makeFile(context.provider(), context.at(u"d/f"), "bytes");
    const std::string before = describeTree(context.provider(), context.at(u""));
    lookAtEverything(context);
    const std::string after = describeTree(context.provider(), context.at(u""));
    expect(after == before, fmt::format("queries change something:{}", treeDifference(before, after)));
}

/// Files in one folder have different sizes, so that a mix-up of their attributes shows.
void attributesAreOwn(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::array<std::string_view, 4> contents{"", "1", "12", "123"};
    for (const std::string_view bytes : contents) {
        makeFile(provider, context.at(std::u16string(bytes.size() + 1, u'f')), bytes);
    }
    for (const std::string_view bytes : contents) {
        const unsigned long reported =
            provider.doGetFileAttributes(context.at(std::u16string(bytes.size() + 1, u'f'))).getSize();
        expect(reported == bytes.size(),
               fmt::format("of files with sizes 0 to 3 in one folder, the one of {} bytes has the size {}",
                           bytes.size(), reported));
    }
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"3.1", "attributes.file-exists", "A file exists as a file and not as a folder.", any,
          existenceOfFile},
    Check{"3.2", "attributes.folder-exists", "A folder exists as a folder and not as a file.", any,
          existenceOfFolder},
    Check{"3.3", "attributes.missing-does-not-exist",
          "Existence tests never fail: a missing entry, or one below a file, does not exist.", any,
          existenceOfMissing},
    Check{"3.4", "attributes.root-exists", "The root exists as a folder and not as a file.", any,
          existenceOfRoot},
    Check{"3.5", "attributes.size-of-file", "The size in a file's attributes is the number of its bytes.",
          any, sizeOfFile},
    Check{"3.6", "attributes.size-while-open",
          "A file's size is current even while the stream that wrote it is still open.", inMemory,
          sizeWhileOpen},
    Check{"3.7", "attributes.new-file-is-writable", "A new file is writable.", any,
          newEntryIsWritable<fileKind>},
    Check{"3.8", "attributes.new-folder-is-writable", "A new folder is writable.", any,
          newEntryIsWritable<folderKind>},
    Check{"3.9", "attributes.own-for-each", "Each entry of a folder has its own attributes.", any,
          attributesAreOwn},
    Check{"3.10", "attributes.missing-file",
          "Asking for the attributes of a missing file, or of one in a missing folder, fails with NotFound.",
          any, attributesOfMissing<fileKind>},
    Check{
        "3.11", "attributes.missing-folder",
        "Asking for the attributes of a missing folder, or of one in a missing folder, fails with NotFound.",
        any, attributesOfMissing<folderKind>},
    Check{"3.12", "attributes.folder-as-file",
          "Asking for the file attributes of a folder fails with NotFound.", any,
          attributesOfOtherKind<fileKind, folderKind>},
    Check{"3.13", "attributes.file-as-folder",
          "Asking for the folder attributes of a file fails with NotFound.", any,
          attributesOfOtherKind<folderKind, fileKind>},
    Check{"3.14", "attributes.file-below-file",
          "Asking for the file attributes of an entry below a file fails with NotFound.", any,
          attributesBelowFile<fileKind>},
    Check{"3.15", "attributes.folder-below-file",
          "Asking for the folder attributes of an entry below a file fails with NotFound.", any,
          attributesBelowFile<folderKind>},
    Check{"3.16", "attributes.root-as-file",
          "Asking for the file attributes of the root fails with NotFound.", any, fileAttributesOfRoot},
    Check{"3.17", "attributes.root-as-folder",
          "The root has folder attributes: writable at first, with the time of the last entry added to it.",
          inMemory, folderAttributesOfRoot},
    Check{"3.18", "attributes.looking-changes-nothing",
          "Queries for existence, attributes, listings and bytes change nothing.", any,
          lookingChangesNothing},
};

} // namespace
} // namespace attribute_checks

std::span<const Check> attributes() {
    return attribute_checks::table;
}

} // namespace storage::host::checks
