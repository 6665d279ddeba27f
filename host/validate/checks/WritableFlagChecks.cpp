#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <fmt/format.h>

namespace storage::host::checks {

using namespace provider;

namespace writable_flag_checks {
namespace {

template <const EntryKind& kind>
void flagIsReadBack(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*kind.create)(entry);
    for (int i = 0; i < 40; ++i) {
        const bool writable = i % 4 == 0 || i % 4 == 3; // each value also twice in a row
        provider.doSetWritable(entry, writable);
        expect(kind.isWritable(provider, entry) == writable,
               fmt::format("a {} that was made {} is reported as {}", kind.name,
                           writable ? "writable" : "read-only", writable ? "read-only" : "writable"));
    }
}

void flagOfEachEntry(CheckContext& context) {
    const IProvider& provider = context.provider();
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        (provider.*kind->create)(context.at(u"protected"));
        (provider.*kind->create)(context.at(u"neighbour"));
        {
            const WriteProtection isReadOnly(provider, context.at(u"protected"));
            expect(kind->isWritable(provider, context.at(u"neighbour")) &&
                       folderKind.isWritable(provider, context.at(u"")),
                   fmt::format("a read-only {} makes its neighbour or its folder read-only too", kind->name));
        }
        (provider.*kind->remove)(context.at(u"protected"));
        (provider.*kind->remove)(context.at(u"neighbour"));
    }
}

template <const EntryKind& kind>
void creatingInReadOnlyFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    const WriteProtection isReadOnly(provider, context.at(u"d"));
    const StorageIRI entry = context.at(u"d/e");
    expectRefusal(
        context, [&] { (provider.*kind.create)(entry); }, ErrorCode::ReadOnly, entry,
        fmt::format("creating a {} in a read-only folder", kind.name));
}

template <const EntryKind& kind>
void removingFromReadOnlyFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"d/e");
    provider.doCreateFolder(context.at(u"d"));
    (provider.*kind.create)(entry);
    const WriteProtection isReadOnly(provider, context.at(u"d"));
    expectRefusal(
        context, [&] { (provider.*kind.remove)(entry); }, ErrorCode::ReadOnly, entry,
        fmt::format("removing a {} from a read-only folder", kind.name));
}

template <const EntryKind& kind>
void removingReadOnlyEntry(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*kind.create)(entry);
    const WriteProtection isReadOnly(provider, entry);
    expectRefusal(
        context, [&] { (provider.*kind.remove)(entry); }, ErrorCode::ReadOnly, entry,
        fmt::format("removing a read-only {}", kind.name));
}

void writableAgain(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"d/f"), "");
    for (const char16_t* path : {u"d/f", u"d"}) {
        provider.doSetWritable(context.at(path), false);
        provider.doSetWritable(context.at(path), true);
    }
    provider.doCreateFile(context.at(u"d/new"));
    provider.doRemoveFile(context.at(u"d/new"));
    provider.doRemoveFile(context.at(u"d/f"));
    provider.doRemoveFolder(context.at(u"d"));
    expect(!provider.doFolderExists(context.at(u"d")),
           "a folder that was made writable again and removed still exists");
}

/// The flag of a folder protects the list of its entries, not their content.
void belowReadOnlyFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFolder(context.at(u"d/inner"));
    makeFile(provider, context.at(u"d/f"), "old");
    const WriteProtection isReadOnly(provider, context.at(u"d"));
    expect(fileKind.isWritable(provider, context.at(u"d/f")) &&
               folderKind.isWritable(provider, context.at(u"d/inner")),
           "an entry in a read-only folder is read-only too");
    writeText(*openStream(provider, context.at(u"d/f")), "new");
    expect(contentOf(provider, context.at(u"d/f")) == "new",
           "a file in a read-only folder cannot be written to");
    provider.doCreateFile(context.at(u"d/inner/f"));
    provider.doRemoveFile(context.at(u"d/inner/f"));
}

void readOnlyCanBeRead(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    makeFile(provider, context.at(u"d/f"), "bytes");
    const WriteProtection fileIsReadOnly(provider, context.at(u"d/f"));
    const WriteProtection folderIsReadOnly(provider, context.at(u"d"));
    expect(contentOf(provider, context.at(u"d/f")) == "bytes", "a read-only file has other bytes");
    expect(provider.doGetFileAttributes(context.at(u"d/f")).getSize() == 5,
           "a read-only file has another size");
    expect(provider.doListAll(context.at(u"d"))->hasNext(), "a read-only folder lists nothing");
    expect(provider.doFileExists(context.at(u"d/f")), "a file in a read-only folder does not exist");
}

void flagOfMissing(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "");
    for (const char16_t* path : {u"missing", u"missing/e", u"f/e"}) {
        const StorageIRI entry = context.at(path);
        for (const bool writable : {true, false}) {
            expectRefusal(
                context, [&] { context.provider().doSetWritable(entry, writable); }, ErrorCode::NotFound,
                entry, "setting the flag of a missing entry");
        }
    }
}

/// An existing entry must be reported before the flag of the folder.
void existenceBeforeFlag(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"d/e");
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFile(entry);
    const WriteProtection isReadOnly(provider, context.at(u"d"));
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        expectRefusal(
            context, [&] { (provider.*kind->create)(entry); }, ErrorCode::AlreadyExists, entry,
            fmt::format("creating a {} where a file exists, in a read-only folder,", kind->name));
    }
}

/// A missing entry or one of the other kind must be reported before the flags.
void absenceBeforeFlag(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFile(context.at(u"d/file"));
    provider.doCreateFolder(context.at(u"d/folder"));
    const WriteProtection fileIsReadOnly(provider, context.at(u"d/file"));
    const WriteProtection innerIsReadOnly(provider, context.at(u"d/folder"));
    const WriteProtection folderIsReadOnly(provider, context.at(u"d"));
    const auto expectNotFound = [&](const EntryKind& kind, std::u16string_view path) {
        const StorageIRI entry = context.at(path);
        expectRefusal(
            context, [&] { (provider.*kind.remove)(entry); }, ErrorCode::NotFound, entry,
            fmt::format("removing, from a read-only folder, a {} that is missing or of the other kind",
                        kind.name));
    };
    expectNotFound(fileKind, u"d/missing");
    expectNotFound(folderKind, u"d/missing");
    expectNotFound(fileKind, u"d/folder");
    expectNotFound(folderKind, u"d/file");
}

/// A folder that is not empty must be reported before its own flag and the flag of its parent.
void contentBeforeFlag(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d/full");
    provider.doCreateFolder(context.at(u"d"));
    provider.doCreateFolder(folder);
    provider.doCreateFile(context.at(u"d/full/f"));
    const WriteProtection innerIsReadOnly(provider, folder);
    const WriteProtection outerIsReadOnly(provider, context.at(u"d"));
    expectRefusal(
        context, [&] { provider.doRemoveFolder(folder); }, ErrorCode::FolderNotEmpty, folder,
        "removing a read-only folder that is not empty from a read-only one");
}

void pathIsUsed(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"f"), "");
    makeFile(provider, context.at(u"resolved"), "");
    const StorageIRI location(context.at(u"resolved").getPath(), context.at(u"f").getPath(), true);
    provider.doSetWritable(location, false);
    expect(!fileKind.isWritable(provider, context.at(u"f")) &&
               fileKind.isWritable(provider, context.at(u"resolved")),
           "the flag is not set at the given path, or is set at the resolved path");
    const StorageIRI missing(context.at(u"resolved").getPath(), context.at(u"missing").getPath(), true);
    expectRefusal(
        context, [&] { provider.doSetWritable(missing, false); }, ErrorCode::NotFound, missing,
        "setting the flag of a missing path");
}

void flagOfRoot(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI root(u"/");
    const StorageIRI child = StorageIRI(u"/child");
    const StorageIRI inside = context.at(u"f");
    {
        const WriteProtection isReadOnly(provider, root);
        expect(!folderKind.isWritable(provider, root), "a read-only root is reported as writable");
        for (const EntryKind* kind : {&fileKind, &folderKind}) {
            expectRefusal(
                context, [&] { (provider.*kind->create)(child); }, ErrorCode::ReadOnly, child,
                fmt::format("creating a {} in a read-only root", kind->name));
        }
        provider.doCreateFile(inside);
    }
    provider.doCreateFile(child);
}

void rootFlagNeedsRootLocation(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doSetWritable(StorageIRI(u"/any", u"/any", false), false);
    expect(!folderKind.isWritable(provider, StorageIRI(u"/")), "a location without a parent is not the root");
    provider.doSetWritable(StorageIRI(u"/"), true);
    const StorageIRI withParent(u"/", u"/", true);
    expectFailure([&] { provider.doSetWritable(withParent, false); }, ErrorCode::NotFound, withParent,
                  "setting the flag of a location \"/\" that has a parent");
    expect(folderKind.isWritable(provider, StorageIRI(u"/")),
           "a location \"/\" that has a parent is the root");
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"6.1", "writable.file-flag-is-kept",
          "The writable flag of a file is read back as it was set, however often.", any,
          flagIsReadBack<fileKind>},
    Check{"6.2", "writable.folder-flag-is-kept",
          "The writable flag of a folder is read back as it was set, however often.", any,
          flagIsReadBack<folderKind>},
    Check{"6.3", "writable.own-for-each", "Each entry of a folder, and the folder, has its own flag.", any,
          flagOfEachEntry},
    Check{"6.4", "writable.no-new-file",
          "Creating a file in a read-only folder fails with ReadOnly naming the file.", any,
          creatingInReadOnlyFolder<fileKind>},
    Check{"6.5", "writable.no-new-folder",
          "Creating a folder in a read-only folder fails with ReadOnly naming the new folder.", any,
          creatingInReadOnlyFolder<folderKind>},
    Check{"6.6", "writable.no-file-removed",
          "Removing a file from a read-only folder fails with ReadOnly naming the file.", any,
          removingFromReadOnlyFolder<fileKind>},
    Check{"6.7", "writable.no-folder-removed",
          "Removing a folder from a read-only folder fails with ReadOnly naming the folder to be removed.",
          any, removingFromReadOnlyFolder<folderKind>},
    Check{"6.8", "writable.read-only-file-stays", "Removing a read-only file fails with ReadOnly.", any,
          removingReadOnlyEntry<fileKind>},
    Check{"6.9", "writable.read-only-folder-stays", "Removing a read-only empty folder fails with ReadOnly.",
          inMemory, removingReadOnlyEntry<folderKind>},
    Check{"6.10", "writable.writable-again",
          "An entry that is made writable again can be changed and removed again.", any, writableAgain},
    Check{"6.11", "writable.below-read-only-folder",
          "In a read-only folder, the bytes of files and the entries of subfolders can still be changed.",
          any, belowReadOnlyFolder},
    Check{"6.12", "writable.read-only-can-be-read", "Read-only entries can be read, listed and queried.", any,
          readOnlyCanBeRead},
    Check{"6.13", "writable.missing",
          "Setting the flag of a missing entry, or of one below a file, fails with NotFound.", any,
          flagOfMissing},
    Check{"6.14", "writable.existence-before-flag",
          "Creating an existing entry in a read-only folder fails with AlreadyExists, not ReadOnly.",
          inMemory, existenceBeforeFlag},
    Check{"6.15", "writable.absence-before-flag",
          "Removing a missing entry, or one of the other kind, fails with NotFound even if everything is "
          "read-only.",
          inMemory, absenceBeforeFlag},
    Check{"6.16", "writable.content-before-flag",
          "Removing a folder that is not empty fails with FolderNotEmpty even if everything is read-only.",
          inMemory, contentBeforeFlag},
    Check{"6.17", "writable.path-is-used",
          "doSetWritable uses the path of a location, not the resolved path.", inMemory, pathIsUsed},
    Check{"6.18", "writable.root", "A read-only root accepts no new entries; the folders in it still do.",
          inMemory, flagOfRoot},
    Check{"6.19", "writable.root-has-no-parent",
          "For doSetWritable, a location without a parent is the root; \"/\" with a parent fails with "
          "NotFound.",
          inMemory, rootFlagNeedsRootLocation},
};

} // namespace
} // namespace writable_flag_checks

std::span<const Check> writableFlag() {
    return writable_flag_checks::table;
}

} // namespace storage::host::checks
