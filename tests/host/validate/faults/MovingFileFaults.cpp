#include "tests/host/validate/faults/BrokenMoves.h"
#include "tests/host/validate/faults/FaultCatalogue.h"

#include <array>
#include <optional>
#include <set>

namespace faults {

using namespace foundation::storage::provider;

namespace moving_file_faults {
namespace {

using Policy = ReplacementPolicy;

/// Does not remove the source.
void leavingTheSource(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doCopyFile(from, to, policy);
}

/// Also removes the sibling with the moved file's name followed by "0".
void takingSiblings(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, policy);
    const StorageIRI sibling(from.getPath() + u"0");
    if (sound.doFileExists(sibling)) {
        sound.doRemoveFile(sibling);
    }
}

/// Refuses to create a file at the old path of a moved one.
class OldNameInUse final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        sound().doMoveFile(from, to, policy);
        used_.insert(from.getPath());
    }
    void doCreateFile(const StorageIRI& iri) const override {
        if (used_.contains(iri.getPath())) {
            throw Exception(ErrorCode::AlreadyExists, iri);
        }
        sound().doCreateFile(iri);
    }

private:
    mutable std::set<std::u16string> used_;
};

/// Names the destination if the source is missing.
void namingDestinationWhenMissing(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                                  Policy policy) {
    naming(ErrorCode::NotFound, sound.doFileExists(from) ? from : to,
           [&] { sound.doMoveFile(from, to, policy); });
}

/// Removes the destination before checking the source.
void clearingFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (policy == Policy::ReplaceExisting && sound.doFileExists(to) && from != to) {
        sound.doRemoveFile(to);
    }
    sound.doMoveFile(from, to, policy);
}

/// Names the missing folder of the destination.
void namingDestinationFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                             Policy policy) {
    const bool missing = !sound.doFolderExists(folderOf(to));
    naming(ErrorCode::NotFound, missing ? folderOf(to) : from, [&] { sound.doMoveFile(from, to, policy); });
}

/// Also moves folders.
void movingFoldersToo(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doFolderExists(from) ? sound.doMoveFolder(from, to, policy) : sound.doMoveFile(from, to, policy);
}

/// Ignores the policy.
void ignoringPolicy(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy /*policy*/) {
    sound.doMoveFile(from, to, Policy::ReplaceExisting);
}

/// Replaces a file by overwriting it, so the tail of a longer file remains.
void replacingWithoutEmptying(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                              Policy policy) {
    if (policy != Policy::ReplaceExisting || !sound.doFileExists(to)) {
        return sound.doMoveFile(from, to, policy);
    }
    std::array<char, 256> block{};
    const long count = sound.doOpenReadOnlyStream(from)->read(block.data(), 256);
    sound.doOpenStream(to, {})->write(block.data(), count);
    sound.doRemoveFile(from);
}

/// Treats unnamed policies as RefuseExisting.
void refusingUnnamedPolicies(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                             Policy policy) {
    sound.doMoveFile(from, to, policy == Policy::ReplaceExisting ? policy : Policy::RefuseExisting);
}

/// Moves a file into an existing folder at the destination.
void movingIntoFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    const std::u16string name = from.getPath().substr(from.getPath().rfind(u'/') + 1);
    sound.doMoveFile(from, sound.doFolderExists(to) ? below(to, name) : to, policy);
}

/// Ignores the writable flag of the source's folder.
void ignoringSourceFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    ignoringFlag(sound, folderOf(from), [&] { sound.doMoveFile(from, to, policy); });
}

/// Names the read-only destination.
void namingReadOnlyDestination(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                               Policy policy) {
    naming(ErrorCode::ReadOnly, isReadOnly(sound, folderOf(to)) && !sound.doFileExists(to) ? to : from,
           [&] { sound.doMoveFile(from, to, policy); });
}

/// Ignores the writable flag of the replaced file.
void ignoringReplacedFlag(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                          Policy policy) {
    if (isReadOnly(sound, to)) {
        sound.doSetWritable(to, true);
    }
    sound.doMoveFile(from, to, policy);
}

/// Ignores the writable flag of the folder when replacing a file.
void replacingInReadOnlyFolder(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                               Policy policy) {
    if (!sound.doFileExists(to)) {
        return sound.doMoveFile(from, to, policy);
    }
    ignoringFlag(sound, folderOf(to), [&] { sound.doMoveFile(from, to, policy); });
}

/// Checks the writable flags before everything else.
void flagsFirst(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (isReadOnly(sound, folderOf(from)) || isReadOnly(sound, folderOf(to))) {
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFile(from, to, policy);
}

/// Makes a moved file writable.
void forgettingTheFlag(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, policy);
    sound.doSetWritable(to, true);
}

/// Keeps the time of a moved file.
void keepingTheTime(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    const auto time = sound.doGetFileAttributes(from).getLastModified();
    sound.doMoveFile(from, to, policy);
    sound.doSetLastModified(to, time);
}

/// Empties the source when the move fails.
void emptyingTheSource(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    try {
        sound.doMoveFile(from, to, policy);
    } catch (const Exception&) {
        sound.doOpenStream(from, {.content = ByteStreamContent::Empty});
        throw;
    }
}

/// Checks all writable flags before removing the replaced file.
void sparingTheReplaced(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (sound.doFileExists(from) && sound.doFileExists(to) && isReadOnly(sound, folderOf(from))) {
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFile(from, to, policy);
}

/// Accepts moving a file onto itself as a no-op.
void ontoItselfSucceeds(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (from != to) {
        sound.doMoveFile(from, to, policy);
    }
}

/// Refuses to replace a file by itself.
void ontoItselfExists(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, from == to ? Policy::RefuseExisting : policy);
}

/// Removes a file that is moved onto itself, regardless of its flag.
void ontoItselfRemoves(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (from == to && isReadOnly(sound, to)) {
        sound.doSetWritable(to, true);
        sound.doRemoveFile(to);
        throw Exception(ErrorCode::ReadOnly, from);
    }
    sound.doMoveFile(from, to, policy);
}

/// Throws AlreadyExists if the destination is the root.
void rootInTheWay(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    if (!to.hasParent()) {
        throw Exception(ErrorCode::AlreadyExists, to);
    }
    sound.doMoveFile(from, to, policy);
}

/// Empties the destination first, even if it is the source.
void emptyingItself(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                    ReplacementPolicy policy) {
    if (from.getResolvedPath() == to.getResolvedPath() && policy == ReplacementPolicy::ReplaceExisting) {
        sound.doOpenStream(from, {.content = ByteStreamContent::Empty});
        return;
    }
    sound.doMoveFile(from, to, policy);
}

/// Removes a file before refusing to move it below itself.
void removingBefore(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                    ReplacementPolicy policy) {
    if (to.getResolvedPath().starts_with(from.getResolvedPath() + u"/")) {
        sound.doRemoveFile(from);
    }
    sound.doMoveFile(from, to, policy);
}

/// Keeps the writable flag with the path: a new file at the old place of a read-only one is read-only.
class FlagStaysWithPath final : public BrokenProvider {
public:
    void doMoveFile(const StorageIRI& from, const StorageIRI& to, const Policy& policy) const override {
        const bool readOnly = isReadOnly(sound(), from);
        sound().doMoveFile(from, to, policy);
        if (readOnly) {
            protected_ = from;
        }
    }
    void doCreateFile(const StorageIRI& iri) const override {
        sound().doCreateFile(iri);
        if (protected_ == iri) {
            sound().doSetWritable(iri, false);
        }
    }

private:
    mutable std::optional<StorageIRI> protected_;
};

/// Ignores the writable flag of a replaced file that is empty.
void ignoringFlagOfEmpty(const IProvider& sound, const StorageIRI& from, const StorageIRI& to,
                         Policy policy) {
    const bool isEmpty = sound.doFileExists(to) && sound.doGetFileAttributes(to).getSize() == 0;
    const auto move = [&] { sound.doMoveFile(from, to, policy); };
    isEmpty ? ignoringFlag(sound, to, move) : move();
}

/// Loses the bytes of a file that is moved to the root.
void emptyingInRoot(const IProvider& sound, const StorageIRI& from, const StorageIRI& to, Policy policy) {
    sound.doMoveFile(from, to, policy);
    if (folderOf(to).getPath().empty()) {
        sound.doTruncateToSize(to, 0);
    }
}

constexpr std::array table{
    Fault{"FileStaysBehind", "10.1", build<MovingFiles<leavingTheSource>>},
    Fault{"FileEmptiedInRoot", "10.1", build<MovingFiles<emptyingInRoot>>},
    Fault{"FileTakesSiblings", "10.2", build<MovingFiles<takingSiblings>>},
    Fault{"OldNameInUse", "10.3", build<OldNameInUse>},
    Fault{"FlagStaysWithPath", "10.3", build<FlagStaysWithPath>},
    Fault{"MissingFileNamesDestination", "10.4", build<MovingFiles<namingDestinationWhenMissing>>},
    Fault{"MissingFileClearsDestination", "10.5", build<MovingFiles<clearingFirst>>},
    Fault{"MissingFolderIsNamed", "10.6", build<MovingFiles<namingDestinationFolder>>},
    Fault{"FolderMovesAsFile", "10.7", build<MovingFiles<movingFoldersToo>>},
    Fault{"FilePolicyIgnored", "10.8", build<MovingFiles<ignoringPolicy>>},
    Fault{"ReplacedFileKeepsItsTail", "10.9", build<MovingFiles<replacingWithoutEmptying>>},
    Fault{"UnnamedFilePolicyRefuses", "10.10", build<MovingFiles<refusingUnnamedPolicies>>},
    Fault{"FileMovesIntoFolder", "10.11", build<MovingFiles<movingIntoFolder>>},
    Fault{"SourceFolderFlagIgnored", "10.12", build<MovingFiles<ignoringSourceFolder>>},
    Fault{"ReadOnlyDestinationIsNamed", "10.13", build<MovingFiles<namingReadOnlyDestination>>},
    Fault{"ReplacedFlagIgnored", "10.14", build<MovingFiles<ignoringReplacedFlag>>},
    Fault{"ReplacedFlagOfEmptyIgnored", "10.14", build<MovingFiles<ignoringFlagOfEmpty>>},
    Fault{"ReplacedInReadOnlyFolder", "10.15", build<MovingFiles<replacingInReadOnlyFolder>>},
    Fault{"FileFlagsFirst", "10.16", build<MovingFiles<flagsFirst>>},
    Fault{"MovedFileLosesItsFlag", "10.17", build<MovingFiles<forgettingTheFlag>>},
    Fault{"MovedFileKeepsItsTime", "10.18", build<MovingFiles<keepingTheTime>>},
    Fault{"FailedMoveEmptiesSource", "10.19", build<MovingFiles<emptyingTheSource>>},
    Fault{"ReplacedFileIsSpared", "10.20", build<MovingFiles<sparingTheReplaced>>},
    Fault{"FileOntoItselfSucceeds", "10.21", build<MovingFiles<ontoItselfSucceeds>>},
    Fault{"FileOntoItselfExists", "10.22", build<MovingFiles<ontoItselfExists>>},
    Fault{"FileOntoItselfRemoves", "10.23", build<MovingFiles<ontoItselfRemoves>>},
    Fault{"RootInTheWayOfFile", "10.24", build<MovingFiles<rootInTheWay>>},
    Fault{"EmptyingItself", "10.25", build<MovingFiles<emptyingItself>>},
    Fault{"RemovedBeforeMovedBelow", "10.26", build<MovingFiles<removingBefore>>},
};

} // namespace
} // namespace moving_file_faults

std::span<const Fault> movingFiles() {
    return moving_file_faults::table;
}

} // namespace faults
