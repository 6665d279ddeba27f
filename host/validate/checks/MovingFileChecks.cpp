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

namespace storage::host::checks {

using namespace provider;

namespace moving_file_checks {
namespace {

constexpr std::array refusing{policies::refuse, policies::refuseFile};

/// Creates a folder "a" with the file "a/f", which contains "moved", and an empty folder "b".
void makeTree(CheckContext& context) {
    context.provider().doCreateFolder(context.at(u"a"));
    context.provider().doCreateFolder(context.at(u"b"));
    makeFile(context.provider(), context.at(u"a/f"), "moved");
}

void move(CheckContext& context, std::u16string_view source, std::u16string_view destination,
          ReplacementPolicy policy = policies::replace) {
    context.provider().doMoveFile(context.at(source), context.at(destination), policy);
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

void expectMoved(CheckContext& context, std::u16string_view source, std::u16string_view destination) {
    const IProvider& provider = context.provider();
    expect(!provider.doFileExists(context.at(source)), "a moved file is still at its old location");
    expect(provider.doFileExists(context.at(destination)), "a moved file is not at its new location");
    expect(contentOf(provider, context.at(destination)) == "moved",
           "a moved file has other bytes than before");
}

/// Moves "a/f" to the root and back, if the root accepts files.
void movesThroughTheRoot(CheckContext& context) {
    const IProvider& provider = context.provider();
    const StorageIRI inRoot(context.at(u"").getPath() + u"-moved");
    try {
        provider.doCreateFile(inRoot);
        provider.doRemoveFile(inRoot);
    } catch (const Exception&) { // a storage may have only folders there
        return;
    }
    provider.doMoveFile(context.at(u"a/f"), inRoot, policies::refuse);
    const bool arrived = provider.doFileExists(inRoot) && !provider.doFileExists(context.at(u"a/f"));
    provider.doMoveFile(inRoot, context.at(u"a/f"), policies::refuse);
    expect(arrived && contentOf(provider, context.at(u"a/f")) == "moved",
           "a file that was moved to the root and back did not arrive, or has other bytes than before");
}

void movesUnderEveryPolicy(CheckContext& context) {
    makeTree(context);
    for (const ReplacementPolicy policy : policies::all) {
        move(context, u"a/f", u"b/g", policy);
        expectMoved(context, u"a/f", u"b/g");
        move(context, u"b/g", u"b/h", policy);
        expectMoved(context, u"b/g", u"b/h");
        move(context, u"b/h", u"a/f", policy);
        expectMoved(context, u"b/h", u"a/f");
    }
    movesThroughTheRoot(context);
}

void siblingsStay(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view sibling : {u"a/f0", u"a/ff", u"a/e", u"b/g0"}) {
        makeFile(context.provider(), context.at(sibling), "stays");
    }
    move(context, u"a/f", u"b/g");
    for (const std::u16string_view sibling : {u"a/f0", u"a/ff", u"a/e", u"b/g0"}) {
        expect(contentOf(context.provider(), context.at(sibling)) == "stays",
               "moving a file changes another file");
    }
}

void oldPlaceIsFree(CheckContext& context) {
    makeTree(context);
    move(context, u"a/f", u"b/g");
    makeFile(context.provider(), context.at(u"a/f"), "new");
    expect(contentOf(context.provider(), context.at(u"b/g")) == "moved",
           "a new file at the old location of a moved file changes the moved file");
    expect(contentOf(context.provider(), context.at(u"a/f")) == "new",
           "a new file at the old location of a moved file has other bytes than were written");
    const IProvider& provider = context.provider();
    provider.doSetWritable(context.at(u"a/f"), false);
    try {
        move(context, u"a/f", u"b/h");
    } catch (const Exception&) { // some storages do not move read-only files
        provider.doSetWritable(context.at(u"a/f"), true);
        return;
    }
    provider.doSetWritable(context.at(u"b/h"), true);
    provider.doCreateFile(context.at(u"a/f"));
    expect(provider.doGetFileAttributes(context.at(u"a/f")).isWritable(),
           "a new file at the old location of a moved read-only file is read-only");
}

void missingSource(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view source : {u"a/missing", u"missing/f", u"a/f/below"}) {
        expectRefused(context, source, u"b/g", ErrorCode::NotFound, context.at(source),
                      "moving a missing file");
    }
}

void missingSourceOntoFile(CheckContext& context) {
    makeTree(context);
    expectRefused(context, u"a/missing", u"a/f", ErrorCode::NotFound, context.at(u"a/missing"),
                  "moving a missing file onto a file");
}

void missingDestinationFolder(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view destination : {u"missing/g", u"a/f/below"}) {
        expectRefused(context, u"a/f", destination, ErrorCode::NotFound, context.at(u"a/f"),
                      "moving a file into a folder that is missing");
    }
}

void folderAtTheSource(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view destination : {u"c", u"a/f", u"missing/c"}) {
        expectRefused(context, u"b", destination, ErrorCode::NotFound, context.at(u"b"),
                      "moving a folder as a file");
    }
}

void existingFileIsRefused(CheckContext& context) {
    makeTree(context);
    makeFile(context.provider(), context.at(u"b/g"), "kept");
    makeFile(context.provider(), context.at(u"b/empty"), "");
    for (const ReplacementPolicy policy : refusing) {
        for (const std::u16string_view destination : {u"b/g", u"b/empty"}) {
            expectRefusal(
                context, [&] { move(context, u"a/f", destination, policy); }, ErrorCode::AlreadyExists,
                context.at(destination),
                fmt::format("moving a file onto a file under policy {}", static_cast<int>(policy)));
        }
    }
}

/// Expects that `policy` allows replacing a file by one of another size.
void expectReplaced(CheckContext& context, ReplacementPolicy policy) {
    makeFile(context.provider(), context.at(u"b/g"), "replaced by the move");
    move(context, u"a/f", u"b/g", policy);
    expectMoved(context, u"a/f", u"b/g");
    move(context, u"b/g", u"a/f", policy);
}

void existingFileIsReplaced(CheckContext& context) {
    makeTree(context);
    expectReplaced(context, policies::replace);
}

void policiesWithoutName(CheckContext& context) {
    makeTree(context);
    for (const ReplacementPolicy policy : policies::withoutName) {
        expectReplaced(context, policy);
    }
}

void existingFolderIsRefused(CheckContext& context) {
    makeTree(context);
    context.provider().doCreateFolder(context.at(u"b/empty"));
    context.provider().doCreateFolder(context.at(u"b/full"));
    makeFile(context.provider(), context.at(u"b/full/g"), "kept");
    for (const std::u16string_view destination : {u"b/empty", u"b/full", u"a"}) {
        expectRefused(context, u"a/f", destination, ErrorCode::AlreadyExists, context.at(destination),
                      "moving a file onto a folder");
    }
}

void readOnlySourceFolder(CheckContext& context) {
    makeTree(context);
    const WriteProtection protection(context.provider(), context.at(u"a"));
    for (const std::u16string_view destination : {u"b/g", u"a/g"}) {
        expectRefused(context, u"a/f", destination, ErrorCode::ReadOnly, context.at(u"a/f"),
                      "moving a file out of a read-only folder");
    }
}

void readOnlyDestinationFolder(CheckContext& context) {
    makeTree(context);
    const WriteProtection protection(context.provider(), context.at(u"b"));
    expectRefused(context, u"a/f", u"b/g", ErrorCode::ReadOnly, context.at(u"a/f"),
                  "moving a file into a read-only folder");
}

/// Expects that replacing "b/g" fails with `ReadOnly` and names the source.
void expectNotReplaced(CheckContext& context, std::string_view operation) {
    expectRefusal(
        context, [&] { move(context, u"a/f", u"b/g", policies::replace); }, ErrorCode::ReadOnly,
        context.at(u"a/f"), operation);
}

void readOnlyReplacedFile(CheckContext& context) {
    makeTree(context);
    for (const std::string_view bytes : {"kept", ""}) {
        makeFile(context.provider(), context.at(u"b/g"), bytes);
        const WriteProtection protection(context.provider(), context.at(u"b/g"));
        expectNotReplaced(context, "moving a file onto a read-only file");
        context.provider().doSetWritable(context.at(u"b/g"), true);
        context.provider().doRemoveFile(context.at(u"b/g"));
    }
}

void replacedInReadOnlyFolder(CheckContext& context) {
    makeTree(context);
    makeFile(context.provider(), context.at(u"b/g"), "kept");
    const WriteProtection protection(context.provider(), context.at(u"b"));
    expectNotReplaced(context, "moving a file onto a file in a read-only folder");
}

void orderOfTests(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"b/g"), "kept");
    provider.doCreateFolder(context.at(u"b/sub"));
    const WriteProtection sourceFolder(provider, context.at(u"a"));
    const WriteProtection destinationFolder(provider, context.at(u"b"));
    const WriteProtection destination(provider, context.at(u"b/g"));
    expectRefused(context, u"a/missing", u"b/g", ErrorCode::NotFound, context.at(u"a/missing"),
                  "moving a missing file from a read-only folder into another");
    expectRefused(context, u"a/f", u"missing/g", ErrorCode::NotFound, context.at(u"a/f"),
                  "moving a file from a read-only folder into a missing one");
    expectRefused(context, u"a/f", u"b/sub", ErrorCode::AlreadyExists, context.at(u"b/sub"),
                  "moving a file from a read-only folder onto a folder in another");
    for (const ReplacementPolicy policy : refusing) {
        expectRefusal(
            context, [&] { move(context, u"a/f", u"b/g", policy); }, ErrorCode::AlreadyExists,
            context.at(u"b/g"),
            "moving a file from a read-only folder onto a read-only file, under a policy that refuses "
            "existing files");
    }
}

void readOnlyFileMoves(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"b/h"), "replaced");
    provider.doSetWritable(context.at(u"a/f"), false);
    move(context, u"a/f", u"b/g");
    expect(!provider.doGetFileAttributes(context.at(u"b/g")).isWritable(),
           "a read-only file is writable at its new location");
    move(context, u"b/g", u"b/h");
    expect(!provider.doGetFileAttributes(context.at(u"b/h")).isWritable(),
           "a read-only file gets the flag of the file that it replaces");
    expectMoved(context, u"b/g", u"b/h");
    provider.doSetWritable(context.at(u"b/h"), true);
}

void everythingIsStampedAlike(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    const auto expectStamps = [&](std::u16string_view source, std::u16string_view destination) {
        for (const std::u16string_view each : {u"", u"a", u"b", u"a/f"}) {
            provider.doSetLastModified(context.at(each), pastTime());
        }
        move(context, source, destination);
        const auto time = provider.doGetFileAttributes(context.at(destination)).getLastModified();
        expect(time != pastTime(), "a move does not stamp the moved file");
        expect(provider.doGetFolderAttributes(context.at(u"a")).getLastModified() == time,
               "a move does not stamp the source's folder with the time of the moved file");
        expect(provider.doGetFolderAttributes(context.at(u"")).getLastModified() == pastTime(),
               "a move stamps a folder that does not change");
        return time;
    };
    const auto time = expectStamps(u"a/f", u"b/g");
    expect(provider.doGetFolderAttributes(context.at(u"b")).getLastModified() == time,
           "a move does not stamp the destination's folder with the time of the moved file");
    move(context, u"b/g", u"a/f");
    expectStamps(u"a/f", u"a/g");
    expect(provider.doGetFolderAttributes(context.at(u"b")).getLastModified() == pastTime(),
           "a move within a folder stamps another one");
}

void replacedFileGoesFirst(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"b/g"), "replaced");
    const WriteProtection protection(provider, context.at(u"a"));
    expectFailure([&] { move(context, u"a/f", u"b/g"); }, ErrorCode::ReadOnly, context.at(u"a/f"),
                  "moving a file out of a read-only folder onto a file");
    expect(!provider.doFileExists(context.at(u"b/g")),
           "the file to be replaced still exists after a move that failed because the source's folder is "
           "read-only");
    expect(contentOf(provider, context.at(u"a/f")) == "moved", "a failed move changes the source's bytes");
}

void sourceSurvivesFailure(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    makeFile(provider, context.at(u"b/g"), "replaced");
    const WriteProtection protection(provider, context.at(u"a"));
    expectFailure([&] { move(context, u"a/f", u"b/g"); }, ErrorCode::ReadOnly, context.at(u"a/f"),
                  "moving a file out of a read-only folder onto a file");
    expect(contentOf(provider, context.at(u"a/f")) == "moved", "a failed move changes the source's bytes");
    expect(!provider.doFileExists(context.at(u"b/g")) ||
               contentOf(provider, context.at(u"b/g")) == "replaced",
           "after a failed move, the destination exists with other bytes than before");
}

void ontoItselfIsRefused(CheckContext& context) {
    makeTree(context);
    for (const ReplacementPolicy policy : refusing) {
        expectRefusal(
            context, [&] { move(context, u"a/f", u"a/f", policy); }, ErrorCode::AlreadyExists,
            context.at(u"a/f"), "moving a file onto itself under a policy that refuses existing files");
    }
}

void ontoItselfReplacing(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    expectFailure([&] { move(context, u"a/f", u"a/f"); }, ErrorCode::NotFound, context.at(u"a/f"),
                  "replacing a file by itself");
    expect(!provider.doExists(context.at(u"a/f")), "a file that was to be replaced by itself still exists");
    provider.doCreateFile(context.at(u"a/f"));
}

void readOnlyOntoItself(CheckContext& context) {
    makeTree(context);
    const WriteProtection protection(context.provider(), context.at(u"a/f"));
    expectRefusal(
        context, [&] { move(context, u"a/f", u"a/f"); }, ErrorCode::ReadOnly, context.at(u"a/f"),
        "replacing a read-only file by itself");
}

void rootIsNeitherSourceNorDestination(CheckContext& context) {
    makeTree(context);
    const StorageIRI root(u"/");
    for (const ReplacementPolicy policy : policies::all) {
        expectRefusal(
            context, [&] { context.provider().doMoveFile(root, context.at(u"b/g"), policy); },
            ErrorCode::NotFound, root, "moving the root as a file");
        expectRefusal(
            context, [&] { context.provider().doMoveFile(context.at(u"a/f"), root, policy); },
            ErrorCode::NotFound, context.at(u"a/f"), "moving a file onto the root");
    }
}

/// A location with another given path but the same resolved path.
StorageIRI aliasOf(const StorageIRI& target) {
    return {target.getResolvedPath(), u"/alias", target.hasParent()};
}

void ontoItselfIsNotLost(CheckContext& context) {
    const IProvider& provider = context.provider();
    makeTree(context);
    for (const ReplacementPolicy policy : policies::all) {
        for (const StorageIRI& itself : {context.at(u"a/f"), aliasOf(context.at(u"a/f"))}) {
            bool maybeGone = false;
            try {
                provider.doMoveFile(context.at(u"a/f"), itself, policy);
            } catch (const Exception& failure) {
                maybeGone = failure.getErrorCode() == ErrorCode::NotFound;
            }
            if (maybeGone && !provider.doFileExists(context.at(u"a/f"))) {
                makeFile(provider, context.at(u"a/f"), "moved"); // allowed: the failure reports the loss
            }
            expect(provider.doFileExists(context.at(u"a/f")) &&
                       contentOf(provider, context.at(u"a/f")) == "moved",
                   "moving a file onto itself loses it or its bytes, and does not fail with NotFound");
        }
    }
}

/// Moves a read-only file to other names and folders. A storage may refuse it.
void flagIsKeptOrMoveRefused(CheckContext& context) {
    makeTree(context);
    const IProvider& provider = context.provider();
    for (const std::u16string_view destination : {u"a/other", u"b/f", u"b/other"}) {
        const WriteProtection protection(provider, context.at(u"a/f"));
        try {
            move(context, u"a/f", destination);
        } catch (const Exception& refusal) {
            expect(refusal.getErrorCode() == ErrorCode::ReadOnly && refusal.getIRI() == context.at(u"a/f"),
                   fmt::format("moving a read-only file fails with \"{}\"", refusal.what()));
            continue;
        }
        expect(!provider.doGetFileAttributes(context.at(destination)).isWritable(),
               "a read-only file is writable at its new location");
        provider.doSetWritable(context.at(destination), true);
        move(context, destination, u"a/f");
    }
}

void belowItself(CheckContext& context) {
    makeTree(context);
    for (const std::u16string_view destination : {u"a/f/g", u"a/f/f", u"a/f/g/h"}) {
        expectRefused(context, u"a/f", destination, ErrorCode::NotFound, context.at(u"a/f"),
                      "moving a file below itself");
    }
}

constexpr std::array table{
    Check{"10.1", "moving-files.to-a-free-place",
          "Under every policy, a file moves with its bytes to a free location, in its own folder or another.",
          Profile::AnyProvider, movesUnderEveryPolicy},
    Check{"10.2", "moving-files.siblings-stay", "Moving a file changes no other file.", Profile::AnyProvider,
          siblingsStay},
    Check{"10.3", "moving-files.old-place-is-free",
          "A new file at the old location of a moved file is independent of it.", Profile::AnyProvider,
          oldPlaceIsFree},
    Check{"10.4", "moving-files.missing-source",
          "Moving a missing file fails with NotFound naming the source.", Profile::AnyProvider,
          missingSource},
    Check{"10.5", "moving-files.missing-source-onto-file",
          "Moving a missing file onto a file fails with NotFound too, and leaves that file unchanged.",
          Profile::AnyProvider, missingSourceOntoFile},
    Check{"10.6", "moving-files.missing-destination-folder",
          "Moving a file into a missing folder fails with NotFound naming the source.", Profile::AnyProvider,
          missingDestinationFolder},
    Check{"10.7", "moving-files.folder-at-the-source",
          "Moving a folder with doMoveFile fails with NotFound naming the source.", Profile::InMemoryProvider,
          folderAtTheSource},
    Check{"10.8", "moving-files.existing-file-refused",
          "RefuseExisting and RefuseExistingFile refuse an existing file with AlreadyExists naming the "
          "destination.",
          Profile::AnyProvider, existingFileIsRefused},
    Check{"10.9", "moving-files.existing-file-replaced", "ReplaceExisting replaces an existing file.",
          Profile::AnyProvider, existingFileIsReplaced},
    Check{"10.10", "moving-files.policies-without-name",
          "A policy value without a name replaces an existing file.", Profile::AnyProvider,
          policiesWithoutName},
    Check{"10.11", "moving-files.existing-folder",
          "Under every policy, moving a file onto a folder fails with AlreadyExists naming the destination.",
          Profile::AnyProvider, existingFolderIsRefused},
    Check{"10.12", "moving-files.read-only-source-folder",
          "Moving a file out of a read-only folder fails with ReadOnly naming the source.",
          Profile::AnyProvider, readOnlySourceFolder},
    Check{"10.13", "moving-files.read-only-destination-folder",
          "Moving a file into a read-only folder fails with ReadOnly naming the source.",
          Profile::AnyProvider, readOnlyDestinationFolder},
    Check{"10.14", "moving-files.read-only-replaced-file",
          "Replacing a read-only file fails with ReadOnly naming the source.", Profile::AnyProvider,
          readOnlyReplacedFile},
    Check{"10.15", "moving-files.replaced-in-read-only-folder",
          "Replacing a file in a read-only folder fails with ReadOnly naming the source.",
          Profile::AnyProvider, replacedInReadOnlyFolder},
    Check{"10.16", "moving-files.order-of-tests",
          "If several causes apply, NotFound is reported first, then AlreadyExists, then ReadOnly.",
          Profile::InMemoryProvider, orderOfTests},
    Check{"10.17", "moving-files.flag-moves",
          "A read-only file can be moved and stays read-only, even if it replaces a writable one.",
          Profile::InMemoryProvider, readOnlyFileMoves},
    Check{"10.18", "moving-files.stamps",
          "The moved file and both folders get the same time; nothing else is stamped.",
          Profile::InMemoryProvider, everythingIsStampedAlike},
    Check{"10.19", "moving-files.source-survives-failure",
          "A move that fails because the source's folder is read-only leaves the source unchanged.",
          Profile::AnyProvider, sourceSurvivesFailure},
    Check{"10.20", "moving-files.replaced-goes-first",
          "A replaced file is lost if the source's folder then turns out to be read-only.",
          Profile::InMemoryProvider, replacedFileGoesFirst},
    Check{"10.21", "moving-files.onto-itself",
          "Moving a file onto itself fails with AlreadyExists if existing files are refused.",
          Profile::AnyProvider, ontoItselfIsRefused},
    Check{"10.22", "moving-files.onto-itself-replacing",
          "Replacing a file by itself removes it and fails with NotFound.", Profile::InMemoryProvider,
          ontoItselfReplacing},
    Check{"10.23", "moving-files.read-only-onto-itself",
          "Replacing a read-only file by itself fails with ReadOnly and leaves it.", Profile::AnyProvider,
          readOnlyOntoItself},
    Check{"10.24", "moving-files.root",
          "Moving the root as a file, or a file onto the root, fails with NotFound naming the source.",
          Profile::InMemoryProvider, rootIsNeitherSourceNorDestination},
    Check{"10.25", "moving-files.onto-itself-is-not-lost",
          "A file that is moved onto itself keeps its bytes, unless the move fails with NotFound.",
          Profile::AnyProvider, ontoItselfIsNotLost},
    Check{"10.26", "moving-files.below-itself",
          "Under every policy, moving a file below itself fails with NotFound naming the source.",
          Profile::AnyProvider, belowItself},
    Check{
        "10.27", "moving-files.flag-is-kept",
        "A read-only file that is moved stays read-only, or the move fails with ReadOnly naming the source.",
        Profile::AnyProvider, flagIsKeptOrMoveRefused},
};

} // namespace
} // namespace moving_file_checks

std::span<const Check> movingFiles() {
    return moving_file_checks::table;
}

} // namespace storage::host::checks
