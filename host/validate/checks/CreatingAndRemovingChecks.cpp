#include "host/storage/Listing.h"
#include "host/support/Utf.h"
#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/checks/EntryKind.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/StreamSteps.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <fmt/format.h>
#include <map>
#include <optional>

namespace storage::host::checks {

using namespace provider;

namespace creating_and_removing_checks {
namespace {

void newFileIsEmpty(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    provider.doCreateFile(file);
    expect(provider.doFileExists(file), "the new file does not exist");
    expect(contentOf(provider, file).empty(), "the new file has bytes");
}

void newFolderIsEmpty(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d");
    provider.doCreateFolder(folder);
    expect(provider.doFolderExists(folder), "the new folder does not exist");
    expect(!provider.doListAll(folder)->hasNext(), "the new folder is not empty");
}

void fileOverFile(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "kept");
    expectRefusal(
        context, [&] { provider.doCreateFile(file); }, ErrorCode::AlreadyExists, file,
        "creating a file where a file exists");
}

template <const EntryKind& wanted, const EntryKind& there>
void overAnEntry(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*there.create)(entry);
    expectRefusal(
        context, [&] { (provider.*wanted.create)(entry); }, ErrorCode::AlreadyExists, entry,
        fmt::format("creating a {} where a {} exists", wanted.name, there.name));
}

template <const EntryKind& kind>
void creatingInMissingFolder(CheckContext& context) {
    const StorageIRI entry = context.at(u"missing/e");
    expectRefusal(
        context, [&] { (context.provider().*kind.create)(entry); }, ErrorCode::NotFound, entry,
        fmt::format("creating a {} in a missing folder", kind.name));
}

template <const EntryKind& kind>
void creatingBelowFile(CheckContext& context) {
    makeFile(context.provider(), context.at(u"f"), "kept");
    const StorageIRI entry = context.at(u"f/e");
    expectRefusal(
        context, [&] { (context.provider().*kind.create)(entry); }, ErrorCode::NotFound, entry,
        fmt::format("creating a {} below a file", kind.name));
}

void removedFileIsGone(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI file = context.at(u"f");
    makeFile(provider, file, "old");
    provider.doRemoveFile(file);
    expect(!provider.doFileExists(file), "the removed file exists");
    expect(!provider.doListAll(context.at(u""))->hasNext(), "the removed file is listed");
    provider.doCreateFile(file);
    expect(contentOf(provider, file).empty(), "a new file in place of a removed one has bytes");
}

void removedFolderIsGone(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d");
    provider.doCreateFolder(folder);
    provider.doRemoveFolder(folder);
    expect(!provider.doFolderExists(folder), "the removed folder exists");
    expect(!provider.doListAll(context.at(u""))->hasNext(), "the removed folder is listed");
    provider.doCreateFile(folder);
    expect(provider.doFileExists(folder), "a file cannot take the place of a removed folder");
}

template <const EntryKind& kind>
void removingMissing(CheckContext& context) {
    const StorageIRI entry = context.at(u"missing");
    expectRefusal(
        context, [&] { (context.provider().*kind.remove)(entry); }, ErrorCode::NotFound, entry,
        fmt::format("removing a missing {}", kind.name));
}

template <const EntryKind& kind>
void removingInMissingFolder(CheckContext& context) {
    const StorageIRI entry = context.at(u"missing/e");
    expectRefusal(
        context, [&] { (context.provider().*kind.remove)(entry); }, ErrorCode::NotFound, entry,
        fmt::format("removing a {} in a missing folder", kind.name));
}

template <const EntryKind& wanted, const EntryKind& there>
void removingOtherKind(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI entry = context.at(u"e");
    (provider.*there.create)(entry);
    expectRefusal(
        context, [&] { (provider.*wanted.remove)(entry); }, ErrorCode::NotFound, entry,
        fmt::format("removing a {} as a {}", there.name, wanted.name));
}

template <const EntryKind& inside>
void removingNonEmptyFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d");
    provider.doCreateFolder(folder);
    for (const char16_t* const name :
         {u"d/e", u"d/.e", u"d/~e", u"d/.copy-0123456789abcdef", u"d/.ds_store"}) {
        try {
            (provider.*inside.create)(context.at(name));
        } catch (const Exception&) { // a storage may refuse all of these names but the first
            expect(name[2] != u'e', fmt::format("a {} cannot be created", inside.name));
            continue;
        }
        expectRefusal(
            context, [&] { provider.doRemoveFolder(folder); }, ErrorCode::FolderNotEmpty, folder,
            fmt::format("removing a folder that holds a {}", inside.name));
        (provider.*inside.remove)(context.at(name));
    }
}

void removingEmptiedFolder(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI folder = context.at(u"d");
    provider.doCreateFolder(folder);
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        (provider.*kind->create)(context.at(u"d/e"));
        (provider.*kind->remove)(context.at(u"d/e"));
    }
    provider.doRemoveFolder(folder);
    expect(!provider.doFolderExists(folder), "a folder that was emptied and removed exists");
}

void removingLeavesOthers(CheckContext& context) {
    const IProvider& provider = context.provider();
    const std::array others{u"ff", u"f.1", u"f1", u"f-1", u"e"};
    for (const char16_t* name : others) {
        provider.doCreateFile(context.at(name));
    }
    for (const EntryKind* kind : {&fileKind, &folderKind}) {
        (provider.*kind->create)(context.at(u"f"));
        (provider.*kind->remove)(context.at(u"f"));
        expect(sortedEntries(provider.doListAll(context.at(u""))).size() == others.size(),
               fmt::format("removing a {} also removes another entry", kind->name));
    }
}

void sameNameElsewhere(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"n"));
    provider.doCreateFolder(context.at(u"n/n"));
    makeFile(provider, context.at(u"n/n/n"), "inner");
    provider.doCreateFolder(context.at(u"m"));
    makeFile(provider, context.at(u"m/n"), "other");
    provider.doRemoveFile(context.at(u"n/n/n"));
    expect(contentOf(provider, context.at(u"m/n")) == "other",
           "removing a file changes a file with the same name in another folder");
    expect(provider.doFolderExists(context.at(u"n/n")),
           "removing a file removes a folder with the same name");
}

std::u16string numbered(std::size_t number) {
    const std::string digits = std::to_string(number);
    return u"entry " + std::u16string(digits.begin(), digits.end());
}

void manyEntries(CheckContext& context) {
    const IProvider& provider = context.provider();
    constexpr std::size_t count = 500;
    for (std::size_t i = 0; i < count; ++i) {
        (provider.*(i % 2 == 0 ? fileKind : folderKind).create)(context.at(numbered(i)));
    }
    for (std::size_t i = 0; i < count; i += 2) {
        provider.doRemoveFile(context.at(numbered(i)));
    }
    for (std::size_t i = 0; i < count; ++i) {
        expect(provider.doFolderExists(context.at(numbered(i))) == (i % 2 == 1) &&
                   !provider.doFileExists(context.at(numbered(i))),
               fmt::format("after removing every file among {} entries of a folder, {} is not as expected",
                           count, printable(numbered(i))));
    }
    expect(sortedEntries(provider.doListAll(context.at(u""))).size() == count / 2,
           "a folder with many entries lists a wrong number of them");
}

/// Creates and removes random entries, and tracks the expected tree in a map of paths.
class History {
public:
    explicit History(CheckContext& context) : context_(context), provider_(context.provider()) {}

    void step() {
        const std::u16string path = anyPath();
        const EntryKind& kind = context_.random()() % 2 == 0 ? fileKind : folderKind;
        const bool creates = context_.random()() % 3 != 0;
        const auto failure = creates ? failureOfCreating(path) : failureOfRemoving(path, kind);
        const StorageIRI iri = context_.at(path);
        const auto action = [&] { (provider_.*(creates ? kind.create : kind.remove))(iri); };
        if (failure) {
            expectFailure(action, *failure, iri,
                          fmt::format("{} a {}", creates ? "creating" : "removing", kind.name));
            return;
        }
        action();
        if (creates) {
            entries_[path] = &kind;
        } else {
            entries_.erase(path);
        }
    }

    void expectSame(const std::u16string& folder) const {
        for (const FolderEntry& entry : sortedEntries(provider_.doListAll(context_.at(folder)))) {
            const std::u16string path = folder.empty() ? entry.getName() : folder + u"/" + entry.getName();
            expect(
                entries_.contains(path),
                fmt::format("{} is listed, although it was never created, or was removed", printable(path)));
        }
        for (const auto& [path, kind] : entries_) {
            expect((provider_.*kind->exists)(context_.at(path)), fmt::format("{} is lost", printable(path)));
        }
    }

private:
    /// Only a few different names, so that paths collide.
    std::u16string anyPath() {
        std::u16string path;
        for (auto depth = context_.random()() % 3 + 1; depth > 0; --depth) {
            path += path.empty() ? u"" : u"/";
            path += static_cast<char16_t>(u'a' + context_.random()() % 3);
        }
        return path;
    }

    bool isFolder(const std::u16string& path) const {
        const auto found = entries_.find(path);
        return path.empty() || (found != entries_.end() && found->second == &folderKind);
    }

    std::optional<ErrorCode> failureOfCreating(const std::u16string& path) const {
        const auto separator = path.rfind(u'/');
        if (separator != std::u16string::npos && !isFolder(path.substr(0, separator))) {
            return ErrorCode::NotFound;
        }
        return entries_.contains(path) ? std::optional(ErrorCode::AlreadyExists) : std::nullopt;
    }

    std::optional<ErrorCode> failureOfRemoving(const std::u16string& path, const EntryKind& kind) const {
        const auto found = entries_.find(path);
        if (found == entries_.end() || found->second != &kind) {
            return ErrorCode::NotFound;
        }
        const auto below = entries_.lower_bound(path + u"/");
        const bool holdsSomething = below != entries_.end() && below->first.starts_with(path + u"/");
        return holdsSomething ? std::optional(ErrorCode::FolderNotEmpty) : std::nullopt;
    }

    CheckContext& context_;
    const IProvider& provider_;
    std::map<std::u16string, const EntryKind*> entries_;
};

void longHistory(CheckContext& context) {
    History history(context);
    for (int i = 0; i < 1000; ++i) {
        history.step();
    }
    history.expectSame(u"");
}

void creatingRootFolder(CheckContext& context) {
    const StorageIRI root(u"/");
    expectRefusal(
        context, [&] { context.provider().doCreateFolder(root); }, ErrorCode::AlreadyExists, root,
        "creating the root as a folder");
}

void creatingRootFile(CheckContext& context) {
    const StorageIRI root(u"/");
    expectRefusal(
        context, [&] { context.provider().doCreateFile(root); }, ErrorCode::NotFound, root,
        "creating the root as a file");
}

template <const EntryKind& kind>
void removingRoot(CheckContext& context) {
    const StorageIRI root(u"/");
    const StorageIRI ownFolder = context.at(u"");
    expectRefusal(
        context, [&] { (context.provider().*kind.remove)(root); }, ErrorCode::NotFound, root,
        fmt::format("removing the root as a {}", kind.name));
    context.provider().doRemoveFolder(ownFolder);
    expectFailure([&] { (context.provider().*kind.remove)(root); }, ErrorCode::NotFound, root,
                  fmt::format("removing the empty root as a {}", kind.name));
    expect(context.provider().doFolderExists(root), "the root does not exist");
}

void deepFolders(CheckContext& context) {
    const IProvider& provider = context.provider();
    constexpr int depth = 1000;
    std::u16string path = u"d";
    for (int i = 0; i < depth; ++i, path += u"/d") {
        provider.doCreateFolder(context.at(path));
    }
    makeFile(provider, context.at(path), "deep");
    expect(contentOf(provider, context.at(path)) == "deep", "a file below many folders has other bytes");
    provider.doRemoveFile(context.at(path));
    for (int i = 0; i < depth; ++i) {
        path.resize(path.size() - 2);
        provider.doRemoveFolder(context.at(path));
    }
    expect(!provider.doFolderExists(context.at(u"d")), "removed nested folders still exist");
}

constexpr auto any = Profile::AnyProvider;
constexpr auto inMemory = Profile::InMemoryProvider;

constexpr std::array table{
    Check{"2.1", "creating.new-file-is-empty", "A new file exists and is empty.", any, newFileIsEmpty},
    Check{"2.2", "creating.file-over-file", "Creating a file where a file exists fails with AlreadyExists.",
          any, fileOverFile},
    Check{"2.3", "creating.file-over-folder",
          "Creating a file where a folder exists fails with AlreadyExists.", any,
          overAnEntry<fileKind, folderKind>},
    Check{"2.4", "creating.folder-over-file",
          "Creating a folder where a file exists fails with AlreadyExists.", any,
          overAnEntry<folderKind, fileKind>},
    Check{"2.5", "creating.folder-over-folder",
          "Creating a folder where a folder exists fails with AlreadyExists.", any,
          overAnEntry<folderKind, folderKind>},
    Check{"2.6", "creating.file-in-missing-folder",
          "Creating a file in a missing folder fails with NotFound naming the file; no folder is created.",
          any, creatingInMissingFolder<fileKind>},
    Check{"2.7", "creating.folder-in-missing-folder",
          "Creating a folder in a missing folder fails with NotFound naming the new folder; none is created.",
          any, creatingInMissingFolder<folderKind>},
    Check{"2.8", "creating.file-below-file", "Creating a file below a file fails with NotFound.", any,
          creatingBelowFile<fileKind>},
    Check{"2.9", "creating.folder-below-file", "Creating a folder below a file fails with NotFound.", any,
          creatingBelowFile<folderKind>},
    Check{"2.10", "creating.new-folder-is-empty", "A new folder exists and is empty.", any, newFolderIsEmpty},
    Check{"2.11", "creating.removed-file-is-gone",
          "A removed file neither exists nor is listed; a new file in its place is empty.", any,
          removedFileIsGone},
    Check{"2.12", "creating.removed-folder-is-gone",
          "A removed folder neither exists nor is listed; a file can take its place.", any,
          removedFolderIsGone},
    Check{"2.13", "creating.removing-missing-file", "Removing a missing file fails with NotFound.", any,
          removingMissing<fileKind>},
    Check{"2.14", "creating.removing-missing-folder", "Removing a missing folder fails with NotFound.", any,
          removingMissing<folderKind>},
    Check{"2.15", "creating.removing-file-in-missing-folder",
          "Removing a file in a missing folder fails with NotFound naming the file.", any,
          removingInMissingFolder<fileKind>},
    Check{"2.16", "creating.removing-folder-in-missing-folder",
          "Removing a folder in a missing folder fails with NotFound naming the folder to be removed.", any,
          removingInMissingFolder<folderKind>},
    Check{"2.17", "creating.removing-folder-as-file",
          "Removing a folder with doRemoveFile fails with NotFound; the folder stays.", any,
          removingOtherKind<fileKind, folderKind>},
    Check{"2.18", "creating.removing-file-as-folder",
          "Removing a file with doRemoveFolder fails with NotFound; the file stays.", any,
          removingOtherKind<folderKind, fileKind>},
    Check{"2.19", "creating.removing-folder-with-file",
          "Removing a folder that holds a file fails with FolderNotEmpty; both stay.", any,
          removingNonEmptyFolder<fileKind>},
    Check{"2.20", "creating.removing-folder-with-folder",
          "Removing a folder that holds an empty folder fails with FolderNotEmpty; both stay.", any,
          removingNonEmptyFolder<folderKind>},
    Check{"2.21", "creating.removing-emptied-folder",
          "A folder can be removed once all its entries are removed.", any, removingEmptiedFolder},
    Check{"2.22", "creating.removing-leaves-others",
          "Removing an entry leaves its siblings, however similar their names are.", any,
          removingLeavesOthers},
    Check{"2.23", "creating.same-name-elsewhere",
          "Entries with the same name in different folders are independent.", any, sameNameElsewhere},
    Check{"2.24", "creating.many-entries", "A folder keeps hundreds of entries apart and loses none.", any,
          manyEntries},
    Check{"2.25", "creating.long-history",
          "After any sequence of creations and removals, exactly the entries created and not removed exist.",
          any, longHistory},
    Check{"2.26", "creating.root-as-folder", "Creating the root as a folder fails with AlreadyExists.", any,
          creatingRootFolder},
    Check{"2.27", "creating.root-as-file", "Creating the root as a file fails with NotFound.", inMemory,
          creatingRootFile},
    Check{"2.28", "creating.removing-root-folder",
          "Removing the root as a folder fails with NotFound, even when it is empty.", inMemory,
          removingRoot<folderKind>},
    Check{"2.29", "creating.removing-root-file", "Removing the root as a file fails with NotFound.", inMemory,
          removingRoot<fileKind>},
    Check{"2.30", "creating.deep-folders", "Folders can be nested a thousand levels deep.", inMemory,
          deepFolders},
};

} // namespace
} // namespace creating_and_removing_checks

std::span<const Check> creatingAndRemoving() {
    return creating_and_removing_checks::table;
}

} // namespace storage::host::checks
