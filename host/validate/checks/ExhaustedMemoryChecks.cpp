#include "host/validate/checks/CheckCatalogue.h"
#include "host/validate/kit/CheckContext.h"
#include "host/validate/kit/ExhaustedMemory.h"
#include "host/validate/kit/Expectations.h"
#include "host/validate/kit/Policies.h"
#include "host/validate/kit/StreamSteps.h"
#include "host/validate/kit/Times.h"
#include "host/validate/kit/TreeDescription.h"
#include "host/validate/rules/Check.h"
#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <array>
#include <fmt/format.h>
#include <new>
#include <stdexcept>

namespace storage::host::checks {

using namespace provider;

namespace exhausted_memory_checks {
namespace {

/// The result of an operation with little memory. An enumeration, because recording it must not allocate.
enum class Outcome { Done, OutOfMemory, FailedOtherwise };

/// Upper bound of the available bytes: more than any of the operations requires.
constexpr std::size_t mostLeft = 200'000;

std::size_t nextLeft(std::size_t left) {
    return left < 2048 ? left + 32 : left + left / 8;
}

void requireExhaustibleMemory() {
#if defined(QZSTORAGE_SANITIZED)
    skip("memory cannot be exhausted under a sanitizer, which ends the process instead");
#endif
}

/// Runs an operation with little memory. A container that cannot grow may also throw std::length_error.
Outcome attempt(const std::function<void()>& operation, std::size_t left) {
    const ExhaustedMemory exhausted(left);
    try {
        operation();
        return Outcome::Done;
    } catch (const std::bad_alloc&) {
        return Outcome::OutOfMemory;
    } catch (const std::length_error&) {
        return Outcome::OutOfMemory;
    } catch (...) {
        return Outcome::FailedOtherwise;
    }
}

/// An operation. Its locations are created beforehand, because creating them allocates memory.
struct Experiment {
    const char* name;
    std::function<void()> prepare; ///< creates the same state each time, whatever state exists
    std::function<void()> operation;
};

/// Repeats an operation, each time with slightly more memory, until it succeeds.
/// @param afterFailure  called after every failure, when memory is available again
void sweep(const Experiment& experiment, const std::function<void()>& afterFailure) {
    for (std::size_t left = 0; left < mostLeft; left = nextLeft(left)) {
        experiment.prepare();
        const Outcome outcome = attempt(experiment.operation, left);
        if (outcome == Outcome::Done) {
            return;
        }
        expect(outcome == Outcome::OutOfMemory,
               fmt::format("{} fails, but not with std::bad_alloc, when {} bytes of memory are left",
                           experiment.name, left));
        afterFailure();
    }
}

/// Expects that every failure of the operation leaves the check's folder unchanged, including times.
void expectUnchanged(CheckContext& context, const Experiment& experiment) {
    std::string before;
    const Experiment noting{experiment.name,
                            [&] {
                                experiment.prepare();
                                before = describeTree(context.provider(), context.at(u""));
                            },
                            experiment.operation};
    sweep(noting, [&] {
        const std::string after = describeTree(context.provider(), context.at(u""));
        expect(after == before, fmt::format("{} runs out of memory, but changes the storage:{}",
                                            experiment.name, treeDifference(before, after)));
    });
}

/// The locations of a small tree, used by all experiments of a check.
class SmallTree {
public:
    explicit SmallTree(CheckContext& context)
        : top(context.at(u"top")),
          file(context.at(u"top/file")),
          empty(context.at(u"top/empty")),
          folder(context.at(u"top/folder")),
          inner(context.at(u"top/folder/inner")),
          innermost(context.at(u"top/folder/sub/innermost")),
          newEntry(context.at(u"top/entry that is new and whose name is of some length")),
          provider_(context.provider()) {}

    void make() const {
        if (provider_.doFolderExists(top)) {
            provider_.doRemoveFolderRecursively(top);
        }
        provider_.doCreateFolder(top);
        makeFile(provider_, file, "0123456789");
        provider_.doCreateFolder(empty);
        provider_.doCreateFolder(folder);
        makeFile(provider_, inner, "inner");
        provider_.doCreateFolder(StorageIRI(folder.getPath() + u"/sub"));
        makeFile(provider_, innermost, "innermost");
        for (const StorageIRI& each : {file, empty, folder, top}) {
            provider_.doSetLastModified(each, pastTime());
        }
    }

    Experiment experiment(const char* name, std::function<void(const IProvider&)> operation) const {
        return {name, [this] { make(); }, [this, operation = std::move(operation)] { operation(provider_); }};
    }

    const StorageIRI top;
    const StorageIRI file;
    const StorageIRI empty;
    const StorageIRI folder;
    const StorageIRI inner;
    const StorageIRI innermost;
    const StorageIRI newEntry;

private:
    const IProvider& provider_;
};

std::vector<Experiment> creations(const SmallTree& tree) {
    return {
        tree.experiment("creating a file", [&](const IProvider& p) { p.doCreateFile(tree.newEntry); }),
        tree.experiment("creating a folder", [&](const IProvider& p) { p.doCreateFolder(tree.newEntry); }),
    };
}

std::vector<Experiment> removals(const SmallTree& tree) {
    return {
        tree.experiment("removing a file", [&](const IProvider& p) { p.doRemoveFile(tree.file); }),
        tree.experiment("removing a folder", [&](const IProvider& p) { p.doRemoveFolder(tree.empty); }),
    };
}

std::vector<Experiment> openings(const SmallTree& tree) {
    return {
        tree.experiment("opening a missing file",
                        [&](const IProvider& p) { p.doOpenStream(tree.newEntry, {}); }),
        tree.experiment("opening a file to write",
                        [&](const IProvider& p) { p.doOpenStream(tree.file, {}); }),
        tree.experiment(
            "opening a file to empty it",
            [&](const IProvider& p) { p.doOpenStream(tree.file, {.content = ByteStreamContent::Empty}); }),
        tree.experiment("opening a file to read",
                        [&](const IProvider& p) { p.doOpenReadOnlyStream(tree.file); }),
    };
}

std::vector<Experiment> queries(const SmallTree& tree) {
    return {
        tree.experiment("testing whether a file exists",
                        [&](const IProvider& p) { p.doFileExists(tree.file); }),
        tree.experiment("asking for a file's attributes",
                        [&](const IProvider& p) { p.doGetFileAttributes(tree.file); }),
        tree.experiment("asking for a folder's attributes",
                        [&](const IProvider& p) { p.doGetFolderAttributes(tree.folder); }),
        tree.experiment("listing", [&](const IProvider& p) { p.doListAll(tree.top); }),
        tree.experiment("listing a tree", [&](const IProvider& p) { p.doListAllRecursive(tree.top); }),
        tree.experiment("cloning a listing", [&](const IProvider& p) { p.doListAll(tree.top)->clone(); }),
    };
}

std::vector<Experiment> settings(const SmallTree& tree) {
    return {
        tree.experiment("setting a flag", [&](const IProvider& p) { p.doSetWritable(tree.folder, true); }),
        tree.experiment("setting a time",
                        [&](const IProvider& p) { p.doSetLastModified(tree.file, pastTime()); }),
    };
}

std::vector<Experiment> fileMoves(const SmallTree& tree) {
    return {
        tree.experiment(
            "moving a file",
            [&](const IProvider& p) { p.doMoveFile(tree.file, tree.newEntry, policies::refuse); }),
        tree.experiment("replacing a file",
                        [&](const IProvider& p) { p.doMoveFile(tree.file, tree.inner, policies::replace); }),
    };
}

std::vector<Experiment> folderMoves(const SmallTree& tree) {
    return {
        tree.experiment(
            "moving a folder",
            [&](const IProvider& p) { p.doMoveFolder(tree.folder, tree.newEntry, policies::refuse); }),
        tree.experiment(
            "replacing a folder",
            [&](const IProvider& p) { p.doMoveFolder(tree.folder, tree.empty, policies::replace); }),
    };
}

using Experiments = std::vector<Experiment> (*)(const SmallTree&);
constexpr std::array<Experiments, 7> everything{creations, removals,  openings,   queries,
                                                settings,  fileMoves, folderMoves};

void onlyBadAlloc(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    for (const Experiments experiments : everything) {
        for (const Experiment& experiment : experiments(tree)) {
            sweep(experiment, [] {});
        }
    }
}

void everythingWorksAgain(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    for (const Experiments experiments : everything) {
        for (const Experiment& experiment : experiments(tree)) {
            experiment.prepare();
            attempt(experiment.operation, 0);
            experiment.prepare();
            experiment.operation();
        }
    }
}

/// Expects that no failed operation of this kind changes anything.
template <Experiments experiments>
void nothingChanges(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    for (const Experiment& experiment : experiments(tree)) {
        expectUnchanged(context, experiment);
    }
}

/// Which of two locations contains the file. @throws RuleBroken if neither or both do
const StorageIRI& placeOf(const IProvider& provider, const StorageIRI& before, const StorageIRI& after) {
    expect(provider.doFileExists(before) != provider.doFileExists(after),
           "after a move that ran out of memory, a file is at neither location or at both");
    return provider.doFileExists(before) ? before : after;
}

void movedFileIsNotLost(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    const IProvider& provider = context.provider();
    sweep(fileMoves(tree).front(), [&] {
        expect(contentOf(provider, placeOf(provider, tree.file, tree.newEntry)) == "0123456789",
               "after a move that ran out of memory, a file has other bytes");
    });
}

void nothingOfAMovedFolderIsLost(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    const IProvider& provider = context.provider();
    const StorageIRI newInner(tree.newEntry.getPath() + u"/inner");
    const StorageIRI newInnermost(tree.newEntry.getPath() + u"/sub/innermost");
    sweep(folderMoves(tree).front(), [&] {
        expect(contentOf(provider, placeOf(provider, tree.inner, newInner)) == "inner" &&
                   contentOf(provider, placeOf(provider, tree.innermost, newInnermost)) == "innermost",
               "after a move that ran out of memory, a file of the folder has other bytes");
    });
}

void copyIsWholeOrNotThere(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    const IProvider& provider = context.provider();
    const Experiment copy = tree.experiment("copying onto a file", [&](const IProvider& p) {
        p.doCopyFile(tree.file, tree.inner, policies::replace);
    });
    sweep(copy, [&] {
        expect(contentOf(provider, tree.file) == "0123456789" && contentOf(provider, tree.inner) == "inner",
               "a copy that ran out of memory has changed its source or its destination");
    });
}

void truncationKeepsBytes(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    const IProvider& provider = context.provider();
    const Experiment shrink =
        tree.experiment("shortening a file", [&](const IProvider& p) { p.doTruncateToSize(tree.file, 4); });
    sweep(shrink, [&] {
        const std::string content = contentOf(provider, tree.file);
        expect(content == "0123456789" || content == "0123",
               fmt::format("shortening a file to 4 bytes runs out of memory and leaves \"{}\"", content));
    });
    const Experiment grow = tree.experiment("lengthening a file",
                                            [&](const IProvider& p) { p.doTruncateToSize(tree.file, 5000); });
    sweep(grow, [&] {
        const std::string content = contentOf(provider, tree.file);
        expect(content.starts_with("0123456789") && content.size() <= 5000 &&
                   content.find_first_not_of('\0', 10) == std::string::npos,
               "lengthening a file runs out of memory and leaves something other than its bytes and zeros");
    });
}

void failedAppendChangesNothing(CheckContext& context) {
    requireExhaustibleMemory();
    const SmallTree tree(context);
    const IProvider& provider = context.provider();
    const std::string added(3000, 'x');
    std::unique_ptr<ByteStream> stream;
    const Experiment append{"writing at the end of a file",
                            [&] {
                                tree.make();
                                stream = openToAppend(provider, tree.file);
                            },
                            [&] { writeAll(*stream, added); }};
    sweep(append, [&] {
        expect(contentOf(provider, tree.file) == "0123456789",
               "a write that ran out of memory has changed the file");
        writeText(*stream, "x");
        expect(contentOf(provider, tree.file) == "0123456789x",
               "a stream cannot append after a write that ran out of memory");
    });
}

void readingNeedsNoMemory(CheckContext& context) {
    requireExhaustibleMemory();
    makeFile(context.provider(), context.at(u"f"), "0123456789");
    const auto stream = openStream(context.provider(), context.at(u"f"));
    std::array<char, 10> buffer{};
    const Outcome outcome = attempt(
        [&] {
            readExactly(*stream, buffer.data(), buffer.size());
            stream->seek(2, std::ios_base::beg);
            writeAll(*stream, "ab");
            stream->flush();
        },
        0);
    expect(outcome == Outcome::Done, "reading, seeking or overwriting fails without memory");
    expect(std::string_view(buffer.data(), 10) == "0123456789" &&
               contentOf(context.provider(), context.at(u"f")) == "01ab456789",
           "reading, seeking or overwriting has a wrong result without memory");
}

constexpr std::array table{
    Check{"14.1", "memory.bad-alloc", "An operation that runs out of memory fails with std::bad_alloc.",
          Profile::AnyProvider, onlyBadAlloc},
    Check{"14.2", "memory.works-again",
          "An operation that ran out of memory works again when memory is available.", Profile::AnyProvider,
          everythingWorksAgain},
    Check{"14.3", "memory.creating", "A creation that runs out of memory changes nothing.",
          Profile::InMemoryProvider, nothingChanges<creations>},
    Check{"14.4", "memory.removing", "A removal that runs out of memory changes nothing.",
          Profile::InMemoryProvider, nothingChanges<removals>},
    Check{"14.5", "memory.opening",
          "An opening that runs out of memory changes nothing: it creates, stamps and empties no file.",
          Profile::InMemoryProvider, nothingChanges<openings>},
    Check{"14.6", "memory.queries", "A query or listing that runs out of memory changes nothing.",
          Profile::InMemoryProvider, nothingChanges<queries>},
    Check{"14.7", "memory.moving-files",
          "A move of a file that runs out of memory changes nothing; a replaced file is restored.",
          Profile::InMemoryProvider, nothingChanges<fileMoves>},
    Check{"14.8", "memory.moved-file-not-lost",
          "After a move that ran out of memory, the file is at one of its two locations, with its bytes.",
          Profile::AnyProvider, movedFileIsNotLost},
    Check{"14.9", "memory.moved-folder-not-lost",
          "After a move of a folder that ran out of memory, every file is at one of its two locations.",
          Profile::AnyProvider, nothingOfAMovedFolderIsLost},
    Check{"14.10", "memory.copying",
          "A copy that runs out of memory leaves source and destination unchanged.",
          Profile::InMemoryProvider, copyIsWholeOrNotThere},
    Check{"14.11", "memory.truncating",
          "A truncation that runs out of memory loses no byte below the new size.", Profile::InMemoryProvider,
          truncationKeepsBytes},
    Check{"14.12", "memory.appending",
          "An append that runs out of memory changes no byte, and its stream remains usable.",
          Profile::InMemoryProvider, failedAppendChangesNothing},
    Check{"14.13", "memory.reading", "Reading, seeking and overwriting allocate no memory.",
          Profile::InMemoryProvider, readingNeedsNoMemory},
};

} // namespace
} // namespace exhausted_memory_checks

std::span<const Check> exhaustedMemory() {
    return exhausted_memory_checks::table;
}

} // namespace storage::host::checks
