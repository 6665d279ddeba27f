#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "host/validate/kit/WriteProtection.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <fmt/format.h>
#include <utility>

namespace storage::host::checks {

using namespace provider;

namespace moving_folder_checks {
namespace {

constexpr std::array filesOfTree{u"/f", u"/s/g", u"/s/t/h"};
constexpr std::array foldersOfTree{u"", u"/e", u"/s", u"/s/t"};

std::u16string below(std::u16string_view top, std::u16string_view path) {
    return std::u16string(top) + std::u16string(path);
}

/// Different bytes for each file of a tree.
std::string bytesOf(std::u16string_view file) {
    return fmt::format("bytes of {}", std::string(file.begin(), file.end()));
}

/// Creates a folder "p" with the tree "p/a" to move, and an empty folder "q" as its destination.
void makeTree(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"p"));
    provider.doCreateFolder(context.at(u"q"));
    for (const std::u16string_view folder : foldersOfTree) {
        provider.doCreateFolder(context.at(below(u"p/a", folder)));
    }
    for (const std::u16string_view file : filesOfTree) {
        makeFile(provider, context.at(below(u"p/a", file)), bytesOf(file));
    }
}

void move(CheckContext& context, std::u16string_view source, std::u16string_view destination,
          ReplacementPolicy policy = policies::replace) {
    context.provider().doMoveFolder(context.at(source), context.at(destination), policy);
}

/// Expects that the move fails under every policy and changes nothing.
void expectRefused(CheckContext& context, std::u16string_view source, std::u16string_view destination,
                   ErrorCode code, const StorageIRI& location, std::string_view operation) {
    for (const ReplacementPolicy policy : policies::all) {
        expectRefusal(
            context, [&] { move(context, source, destination, policy); }, code, location,
            fmt::format("{} under policy {}", operation, static_cast<int>(policy)));
    }
}

std::vector<std::u16string> namesIn(CheckContext& context, std::u16string_view folder) {
    return context.provider().doListAllNamesOnly(context.at(folder));
}

/// Expects that the whole tree is at `destination` and no part of it is at `source`.
void expectMoved(CheckContext& context, std::u16string_view source, std::u16string_view destination) {
    const IProvider& provider = context.provider();
    expect(!provider.doExists(context.at(source)), "a moved folder is still at its old location");
    for (const std::u16string_view folder : foldersOfTree) {
        expect(provider.doFolderExists(context.at(below(destination, folder))),
               "a moved folder has lost a folder");
        expect(!provider.doExists(context.at(below(source, folder))),
               "a part of a moved folder is still at its old location");
    }
    for (const std::u16string_view file : filesOfTree) {
        expect(provider.doFileExists(context.at(below(destination, file))), "a moved folder has lost a file");
        expect(contentOf(provider, context.at(below(destination, file))) == bytesOf(file),
               "a file in a moved folder has other bytes than before");
    }
    expect(namesIn(context, destination).size() == 3 &&
               namesIn(context, below(destination, u"/s")).size() == 2 &&
               namesIn(context, below(destination, u"/e")).empty(),
           "a moved folder has more entries than before");
}

void movesUnderEveryPolicy(CheckContext& context) {
    makeTree(context);
    context.provider().doCreateFolder(context.at(u"p/n"));
    for (const ReplacementPolicy policy : policies::all) {
        move(context, u"p/a", u"p/n/a", policy);
        expectMoved(context, u"p/a", u"p/n/a");
        move(context, u"p/n/a", u"p/a", policy);
        expectMoved(context, u"p/n/a", u"p/a");
        move(context, u"p/a", u"q/b", policy);
        expectMoved(context, u"p/a", u"q/b");
        move(context, u"q/b", u"q/c", policy);
        expectMoved(context, u"q/b", u"q/c");
        for (const std::u16string_view beside : {u"p/ab", u"p/a b", u"p/a.b", u"p/a-"}) { // begin with "p/a"
            move(context, u"q/c", u"p/a", policy);
            expectMoved(context, u"q/c", u"p/a");
            move(context, u"p/a", beside, policy);
            expectMoved(context, u"p/a", beside);
            move(context, beside, u"q/c", policy);
        }
        move(context, u"q/c", u"p/a", policy);
        expectMoved(context, u"q/c", u"p/a");
    }
}

void movedFolderWorks(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    move(context, u"p/a", u"q/b");
    makeFile(provider, context.at(u"q/b/s/t/new"), "new");
    provider.doCreateFolder(context.at(u"q/b/e/new"));
    provider.doRemoveFile(context.at(u"q/b/s/t/h"));
    expect(namesIn(context, u"q/b/s/t") == std::vector<std::u16string>{u"new"},
           "creating and removing entries in a moved folder leaves other entries than expected");
    provider.doRemoveFolderRecursively(context.at(u"q/b"));
    expect(namesIn(context, u"q").empty(), "a moved folder cannot be removed");
}

void oldPlaceIsFree(CheckContext& context) {
    makeTree(context);
    move(context, u"p/a", u"q/b");
    context.provider().doCreateFolder(context.at(u"p/a"));
    context.provider().doCreateFolder(context.at(u"p/a/s"));
    expect(namesIn(context, u"p/a/s").empty() && namesIn(context, u"p/a").size() == 1,
           "a new folder at the old location of a moved folder is not empty");
}

void siblingsStay(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    for (const std::u16string_view sibling : {u"p/a-b", u"p/a0", u"p/ab"}) {
        provider.doCreateFolder(context.at(sibling));
        makeFile(provider, context.at(below(sibling, u"/f")), "stays");
    }
    move(context, u"p/a", u"q/b");
    for (const std::u16string_view sibling : {u"p/a-b", u"p/a0", u"p/ab"}) {
        expect(contentOf(provider, context.at(below(sibling, u"/f"))) == "stays",
               "moving a folder changes a sibling with a similar name");
    }
}

void deepFolderMoves(CheckContext& context) {
    const IProvider& provider = context.provider();
    std::u16string inside;
    provider.doCreateFolder(context.at(u"a"));
    for (int depth = 0; depth < 100; ++depth) {
        inside += u"/d";
        provider.doCreateFolder(context.at(below(u"a", inside)));
    }
    makeFile(provider, context.at(below(u"a", inside + u"/f")), "deep");
    move(context, u"a", u"b");
    expect(contentOf(provider, context.at(below(u"b", inside + u"/f"))) == "deep",
           "a file 100 folders below a moved one is lost");
    expect(!provider.doFolderExists(context.at(below(u"a", inside))),
           "a folder 100 folders below a moved one is still at its old location");
}

void wideFolderMoves(CheckContext& context) {
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"a"));
    for (int i = 0; i < 2400; ++i) {
        const std::string number = fmt::format("a/{}", i);
        const std::u16string path(number.begin(), number.end());
        i % 3 == 0 ? provider.doCreateFolder(context.at(path)) : makeFile(provider, context.at(path), number);
    }
    move(context, u"a", u"b");
    expect(provider.doListFilesNamesOnly(context.at(u"b")).size() == 1600 &&
               provider.doListFoldersNamesOnly(context.at(u"b")).size() == 800,
           "a moved folder has lost some of its 1600 files and 800 folders");
}

void missingSource(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view source : {u"p/missing", u"missing/a", u"p/a/f/below"}) {
        expectRefused(context, source, u"q/b", ErrorCode::NotFound, context.at(source),
                      "moving a missing folder");
    }
}

void missingDestinationFolder(CheckContext& context) {
    makeTree(context);
    makeFile(context.provider(), context.at(u"q/file"), "kept");
    for (const std::u16string_view destination : {u"missing/b", u"q/file/below"}) {
        expectRefused(context, u"p/a", destination, ErrorCode::NotFound, context.at(u"p/a"),
                      "moving a folder into a folder that is missing");
    }
}

void fileAtTheSource(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view destination : {u"q/b", u"q", u"missing/b"}) {
        expectRefused(context, u"p/a/f", destination, ErrorCode::NotFound, context.at(u"p/a/f"),
                      "moving a file as a folder");
    }
}

void emptyFolderIsRefused(CheckContext& context) {
    makeTree(context);
    context.provider().doCreateFolder(context.at(u"q/b"));
    expectRefusal(
        context, [&] { move(context, u"p/a", u"q/b", policies::refuse); }, ErrorCode::AlreadyExists,
        context.at(u"q/b"), "moving a folder onto an empty folder under RefuseExisting");
}

/// Expects that `policy` allows replacing an empty folder.
void expectReplaced(CheckContext& context, ReplacementPolicy policy) {
    context.provider().doCreateFolder(context.at(u"q/b"));
    move(context, u"p/a", u"q/b", policy);
    expectMoved(context, u"p/a", u"q/b");
    expect(namesIn(context, u"q").size() == 1, "a replaced folder still exists beside the moved one");
    move(context, u"q/b", u"p/a", policy);
}

void emptyFolderIsReplaced(CheckContext& context) {
    makeTree(context);
    expectReplaced(context, policies::replace);
    expectReplaced(context, policies::refuseFile);
}

void policiesWithoutName(CheckContext& context) {
    makeTree(context);
    for (const ReplacementPolicy policy : policies::withoutName) {
        expectReplaced(context, policy);
    }
}

void fullFolderIsRefused(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"q/b"));
    makeFile(provider, context.at(u"q/b/kept"), "kept");
    expectRefused(context, u"p/a", u"q/b", ErrorCode::AlreadyExists, context.at(u"q/b"),
                  "moving a folder onto a folder that is not empty");
    for (const auto& [source, destination] :
         std::initializer_list<std::pair<std::u16string_view, std::u16string_view>>{{u"p/a/s", u"p/a"},
                                                                                    {u"p/a/s/t", u"p/a"},
                                                                                    {u"p/a/s/t", u"p"},
                                                                                    {u"p/a/e", u"p"},
                                                                                    {u"p/a", u"p"}}) {
        expectRefused(context, source, destination, ErrorCode::AlreadyExists, context.at(destination),
                      "moving a folder onto a folder above it");
    }
}

void fileInTheWayIsRefused(CheckContext& context) {
    makeTree(context);
    makeFile(context.provider(), context.at(u"q/b"), "kept");
    makeFile(context.provider(), context.at(u"q/empty"), "");
    for (const std::u16string_view source : {u"p/a", u"p/a/e"}) {
        for (const std::u16string_view destination : {u"q/b", u"q/empty", u"p/a/f"}) {
            if (source == u"p/a/e" || destination != u"p/a/f") { // otherwise below itself
                expectRefused(context, source, destination, ErrorCode::AlreadyExists, context.at(destination),
                              "moving a folder onto a file");
            }
        }
    }
}

void ontoItself(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view folder : {u"p/a", u"p/a/e"}) {
        expectRefused(context, folder, folder, ErrorCode::AlreadyExists, context.at(folder),
                      "moving a folder onto itself");
    }
}

void belowItself(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view destination : {u"p/a/new", u"p/a/s/t/new", u"p/a/e", u"p/a/e/new"}) {
        expectRefused(context, u"p/a", destination, ErrorCode::AlreadyExists, context.at(destination),
                      "moving a folder below itself");
    }
    expectRefused(context, u"p/a/e", u"p/a/e/new", ErrorCode::AlreadyExists, context.at(u"p/a/e/new"),
                  "moving an empty folder below itself");
    std::u16string path = u"p/a/e";
    for (int depth = 0; depth < 8; ++depth) {
        path += u"/d";
        context.provider().doCreateFolder(context.at(path));
    }
    for (const std::u16string& destination : {path, path + u"/new"}) {
        expectRefused(context, u"p/a", destination, ErrorCode::AlreadyExists, context.at(destination),
                      "moving a folder many levels below itself");
    }
}

/// Expects that moving "p/a" to "q/b" fails with `ReadOnly`, names the source and changes nothing while
/// `folder` is read-only.
void expectReadOnly(CheckContext& context, std::u16string_view folder, std::string_view operation) {
    makeTree(context);
    const WriteProtection protection(context.provider(), context.at(folder));
    expectRefused(context, u"p/a", u"q/b", ErrorCode::ReadOnly, context.at(u"p/a"), operation);
}

void readOnlySourceParent(CheckContext& context) {
    expectReadOnly(context, u"p", "moving a folder out of a read-only folder");
}

void readOnlySource(CheckContext& context) {
    expectReadOnly(context, u"p/a", "moving a read-only folder");
}

void readOnlyDestinationFolder(CheckContext& context) {
    expectReadOnly(context, u"q", "moving a folder into a read-only folder");
}

void readOnlyReplacedFolder(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"q/b"));
    for (const std::u16string_view folder : {u"q/b", u"q"}) {
        const WriteProtection protection(provider, context.at(folder));
        expectRefusal(
            context, [&] { move(context, u"p/a", u"q/b"); }, ErrorCode::ReadOnly, context.at(u"p/a"),
            "replacing a read-only empty folder, or one in a read-only folder");
    }
}

void orderOfTests(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    provider.doCreateFolder(context.at(u"q/full"));
    provider.doCreateFolder(context.at(u"q/full/kept"));
    provider.doCreateFolder(context.at(u"q/empty"));
    const WriteProtection sourceParent(provider, context.at(u"p"));
    const WriteProtection source(provider, context.at(u"p/a"));
    const WriteProtection destinationFolder(provider, context.at(u"q"));
    expectRefused(context, u"p/missing", u"q/full", ErrorCode::NotFound, context.at(u"p/missing"),
                  "moving a missing folder from a read-only folder onto another");
    expectRefused(context, u"p/a", u"missing/b", ErrorCode::NotFound, context.at(u"p/a"),
                  "moving a read-only folder into a missing one");
    expectRefused(context, u"p/a", u"q/full", ErrorCode::AlreadyExists, context.at(u"q/full"),
                  "moving a read-only folder onto one that is not empty");
    expectRefused(context, u"p/a", u"p/a/new", ErrorCode::AlreadyExists, context.at(u"p/a/new"),
                  "moving a read-only folder below itself");
    expectRefusal(
        context, [&] { move(context, u"p/a", u"q/empty", policies::refuse); }, ErrorCode::AlreadyExists,
        context.at(u"q/empty"), "moving a read-only folder onto an empty one under RefuseExisting");
}

void flagsAfterTheMove(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    provider.doSetWritable(context.at(u"p/a/s/g"), false);
    move(context, u"p/a", u"q/b");
    expect(!provider.doGetFileAttributes(context.at(u"q/b/s/g")).isWritable(),
           "a read-only file in a moved folder is writable at its new location");
    expect(provider.doGetFileAttributes(context.at(u"q/b/f")).isWritable(),
           "a writable file in a moved folder is read-only at its new location");
    for (const std::u16string_view folder : foldersOfTree) {
        expect(provider.doGetFolderAttributes(context.at(below(u"q/b", folder))).isWritable(),
               "a moved folder is read-only at its new location");
    }
    provider.doSetWritable(context.at(u"q/b/s/g"), true);
}

void everythingIsStampedAlike(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    for (const std::u16string_view folder : foldersOfTree) {
        provider.doSetLastModified(context.at(below(u"p/a", folder)), pastTime());
    }
    for (const std::u16string_view file : filesOfTree) {
        provider.doSetLastModified(context.at(below(u"p/a", file)), pastTime());
    }
    provider.doSetLastModified(context.at(u""), pastTime());
    move(context, u"p/a", u"q/b");
    const auto timeOf = [&](std::u16string_view path) {
        return provider.doGetExtendedAttributes(context.at(path)).lastModified;
    };
    const auto time = timeOf(u"q/b");
    expect(time != pastTime(), "a move does not stamp the moved folder");
    expect(timeOf(u"p") == time && timeOf(u"q") == time,
           "a move does not stamp both folders with the time of the moved one");
    for (const std::u16string_view path : {u"/e", u"/f", u"/s", u"/s/g", u"/s/t", u"/s/t/h"}) {
        expect(timeOf(below(u"q/b", path)) == time,
               "a move does not stamp everything in the moved folder with the same time");
    }
    expect(timeOf(u"") == pastTime(), "a move stamps a folder that does not change");
}

/// Creates the tree with a read-only folder "p/a/s", which may stop a move of "p/a" midway.
void makeStoppingTree(CheckContext& context) {
    makeTree(context);
    makeFile(context.provider(), context.at(u"p/a/z"), bytesOf(u"/z"));
    context.provider().doSetWritable(context.at(u"p/a/s"), false);
}

/// Moves the tree to "q/b". A storage may stop midway.
void moveAsFarAsItGoes(CheckContext& context) {
    try {
        move(context, u"p/a", u"q/b");
    } catch (const Exception& failure) {
        expect(failure.getErrorCode() == ErrorCode::ReadOnly && failure.getIRI() == context.at(u"p/a"),
               "a move stopped by a read-only folder does not fail with ReadOnly naming the source");
    }
}

void nothingIsLostMidway(CheckContext& context) {
    makeStoppingTree(context);
    moveAsFarAsItGoes(context);
    const IProvider& provider = context.provider();
    for (const std::u16string_view file : {u"/f", u"/s/g", u"/s/t/h", u"/z"}) {
        const StorageIRI before = context.at(below(u"p/a", file));
        const StorageIRI after = context.at(below(u"q/b", file));
        expect(provider.doFileExists(before) != provider.doFileExists(after),
               "after a move that stopped midway, a file is at neither location or at both");
        expect(contentOf(provider, provider.doFileExists(before) ? before : after) == bytesOf(file),
               "after a move that stopped midway, a file has other bytes");
    }
    for (const std::u16string_view folder : {u"/e", u"/s", u"/s/t"}) {
        expect(provider.doFolderExists(context.at(below(u"p/a", folder))) ||
                   provider.doFolderExists(context.at(below(u"q/b", folder))),
               "after a move that stopped midway, a folder is lost");
    }
    const std::u16string_view where = provider.doFolderExists(context.at(u"p/a/s")) ? u"p/a/s" : u"q/b/s";
    provider.doSetWritable(context.at(where), true);
}

void stateMidway(CheckContext& context) {
    makeStoppingTree(context);
    expectFailure([&] { move(context, u"p/a", u"q/b"); }, ErrorCode::ReadOnly, context.at(u"p/a"),
                  "moving a folder with a read-only folder in it");
    const IProvider& provider = context.provider();
    using Names = std::vector<std::u16string>;
    expect(namesIn(context, u"q/b") == Names{u"e", u"f"},
           "a move stopped by a read-only folder has not moved the entries before it in the order of paths");
    expect(namesIn(context, u"p/a") == Names{u"s", u"z"},
           "a move stopped by a read-only folder has moved that folder or entries after it");
    expect(namesIn(context, u"p/a/s") == Names{u"g", u"t"},
           "a move stopped by a read-only folder has removed entries of that folder");
    expect(!provider.doGetFolderAttributes(context.at(u"p/a/s")).isWritable(),
           "a move stopped by a read-only folder has changed that folder's flag");
    provider.doSetWritable(context.at(u"p/a/s"), true);
}

void replacedFolderGoesFirst(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    for (const std::u16string_view folder : {u"p", u"p/a"}) {
        provider.doCreateFolder(context.at(u"q/b"));
        const WriteProtection protection(provider, context.at(folder));
        expectFailure([&] { move(context, u"p/a", u"q/b"); }, ErrorCode::ReadOnly, context.at(u"p/a"),
                      "replacing an empty folder by a read-only one, or one in a read-only folder");
        expect(!provider.doFolderExists(context.at(u"q/b")),
               "the folder to be replaced still exists after a move that failed because the source is "
               "read-only");
    }
}

void rootIsNeitherSourceNorDestination(CheckContext& context) {
    makeTree(context);
    const StorageIRI root(u"/");
    for (const ReplacementPolicy policy : policies::all) {
        expectRefusal(
            context, [&] { context.provider().doMoveFolder(root, context.at(u"q/b"), policy); },
            ErrorCode::NotFound, root, "moving the root");
        expectRefusal(
            context, [&] { context.provider().doMoveFolder(context.at(u"p/a"), root, policy); },
            ErrorCode::NotFound, context.at(u"p/a"), "moving a folder onto the root");
    }
}

void manyFilesKeepTheirFlags(CheckContext& context) {
    const IProvider& provider = context.provider();
    constexpr std::size_t count = 600;
    provider.doCreateFolder(context.at(u"a"));
    const auto pathIn = [](const std::u16string& folder, std::size_t i) {
        const std::string digits = std::to_string(i);
        return folder + u"/f" + std::u16string(digits.begin(), digits.end());
    };
    for (std::size_t i = 0; i < count; ++i) {
        makeFile(provider, context.at(pathIn(u"a", i)), std::to_string(i));
        provider.doSetWritable(context.at(pathIn(u"a", i)), i % 3 != 0);
    }
    move(context, u"a", u"b");
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const StorageIRI file = context.at(pathIn(u"b", i));
        wrong += provider.doGetFileAttributes(file).isWritable() == (i % 3 != 0) &&
                         contentOf(provider, file) == std::to_string(i)
                     ? 0
                     : 1;
        provider.doSetWritable(file, true);
    }
    expect(wrong == 0,
           fmt::format("of {} files in a moved folder, {} have another flag or other bytes", count, wrong));
}

void belowItselfByAlias(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view path : {u"p/a", u"p/a/new", u"p/a/s/t/new", u"p/a/e"}) {
        const StorageIRI target = context.at(path);
        const StorageIRI destination(target.getResolvedPath(), u"/alias", target.hasParent());
        for (const ReplacementPolicy policy : policies::all) {
            expectRefusal(
                context, [&] { context.provider().doMoveFolder(context.at(u"p/a"), destination, policy); },
                ErrorCode::AlreadyExists, destination, "moving a folder onto or below itself, by an alias");
        }
    }
}

constexpr std::array table{
    Check{"11.1", "moving-folders.to-a-free-place",
          "Under every policy, a folder moves to a free location with everything below it.",
          Profile::AnyProvider, movesUnderEveryPolicy},
    Check{"11.2", "moving-folders.moved-folder-works",
          "In a moved folder, entries can be created and removed at every depth.", Profile::AnyProvider,
          movedFolderWorks},
    Check{"11.3", "moving-folders.old-place-is-free",
          "A new folder at the old location of a moved folder is empty.", Profile::AnyProvider,
          oldPlaceIsFree},
    Check{"11.4", "moving-folders.siblings-stay",
          "Moving a folder changes no other folder, even if its name begins with the same characters.",
          Profile::AnyProvider, siblingsStay},
    Check{"11.5", "moving-folders.deep", "A folder moves with 100 levels of folders below it.",
          Profile::AnyProvider, deepFolderMoves},
    Check{"11.6", "moving-folders.wide", "A folder moves with all of its thousands of entries.",
          Profile::AnyProvider, wideFolderMoves},
    Check{"11.7", "moving-folders.missing-source",
          "Moving a missing folder fails with NotFound naming the source.", Profile::AnyProvider,
          missingSource},
    Check{"11.8", "moving-folders.missing-destination-folder",
          "Moving a folder into a missing folder fails with NotFound naming the source.",
          Profile::AnyProvider, missingDestinationFolder},
    Check{"11.9", "moving-folders.file-at-the-source",
          "Moving a file with doMoveFolder fails with NotFound naming the source.", Profile::InMemoryProvider,
          fileAtTheSource},
    Check{"11.10", "moving-folders.empty-folder-refused",
          "RefuseExisting refuses an existing empty folder with AlreadyExists naming the destination.",
          Profile::AnyProvider, emptyFolderIsRefused},
    Check{"11.11", "moving-folders.empty-folder-replaced",
          "ReplaceExisting and RefuseExistingFile replace an existing empty folder.", Profile::AnyProvider,
          emptyFolderIsReplaced},
    Check{"11.12", "moving-folders.policies-without-name",
          "A policy value without a name replaces an existing empty folder.", Profile::AnyProvider,
          policiesWithoutName},
    Check{"11.13", "moving-folders.full-folder-refused",
          "Under every policy, moving onto a folder that is not empty fails with AlreadyExists naming the "
          "destination.",
          Profile::AnyProvider, fullFolderIsRefused},
    Check{"11.14", "moving-folders.file-in-the-way",
          "Under every policy, moving a folder onto a file fails with AlreadyExists naming the destination.",
          Profile::AnyProvider, fileInTheWayIsRefused},
    Check{"11.15", "moving-folders.onto-itself",
          "Under every policy, moving a folder onto itself fails with AlreadyExists naming the destination.",
          Profile::AnyProvider, ontoItself},
    Check{"11.16", "moving-folders.below-itself",
          "Under every policy, moving a folder below itself fails with AlreadyExists naming the destination.",
          Profile::AnyProvider, belowItself},
    Check{"11.17", "moving-folders.read-only-source-parent",
          "Moving a folder out of a read-only folder fails with ReadOnly naming the source.",
          Profile::AnyProvider, readOnlySourceParent},
    Check{"11.18", "moving-folders.read-only-source",
          "Moving a read-only folder fails with ReadOnly naming the source.", Profile::AnyProvider,
          readOnlySource},
    Check{"11.19", "moving-folders.read-only-destination-folder",
          "Moving a folder into a read-only folder fails with ReadOnly naming the source.",
          Profile::AnyProvider, readOnlyDestinationFolder},
    Check{"11.20", "moving-folders.read-only-replaced-folder",
          "Replacing a read-only empty folder, or one in a read-only folder, fails with ReadOnly naming the "
          "source.",
          Profile::AnyProvider, readOnlyReplacedFolder},
    Check{"11.21", "moving-folders.order-of-tests",
          "If several causes apply, NotFound is reported first, then AlreadyExists, then ReadOnly.",
          Profile::InMemoryProvider, orderOfTests},
    Check{"11.22", "moving-folders.flags", "Moved folders become writable; moved files keep their flag.",
          Profile::AnyProvider, flagsAfterTheMove},
    Check{"11.23", "moving-folders.stamps",
          "Everything that was moved and both folders get the same time; nothing else is stamped.",
          Profile::InMemoryProvider, everythingIsStampedAlike},
    Check{"11.24", "moving-folders.nothing-lost-midway",
          "A read-only folder below the source may stop a move with ReadOnly naming the source; each file is "
          "then at its old or its new location.",
          Profile::AnyProvider, nothingIsLostMidway},
    Check{"11.25", "moving-folders.state-midway",
          "A move that stops has moved the entries that come first in the order of paths, and no others.",
          Profile::InMemoryProvider, stateMidway},
    Check{"11.26", "moving-folders.replaced-goes-first",
          "A replaced empty folder is lost if the source then turns out to be read-only.",
          Profile::InMemoryProvider, replacedFolderGoesFirst},
    Check{"11.27", "moving-folders.root",
          "Moving the root, or a folder onto the root, fails with NotFound naming the source.",
          Profile::InMemoryProvider, rootIsNeitherSourceNorDestination},
    Check{"11.28", "moving-folders.many-flags", "Hundreds of files in a moved folder keep their own flags.",
          Profile::AnyProvider, manyFilesKeepTheirFlags},
    Check{"11.29", "moving-folders.below-itself-by-alias",
          "Moving a folder onto or below itself fails with AlreadyExists even if the host resolves an alias "
          "to it.",
          Profile::AnyProvider, belowItselfByAlias},
};

} // namespace
} // namespace moving_folder_checks

std::span<const Check> movingFolders() {
    return moving_folder_checks::table;
}

} // namespace storage::host::checks
